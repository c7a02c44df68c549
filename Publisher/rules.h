#pragma once

#include <QList>
#include <QString>

class QDataStream;

enum class Level { Warning, Error };

/// What a repository has to keep to. The numbers are permanent: they make the rules' ids, by which
/// docs/rules.md explains them.
enum class Rule {
    // A source tree, or a site as a whole
    Unreadable = 1,
    UnknownKey = 2,
    UnlistedFolder = 3,
    NotPublished = 4,
    NothingOffered = 5,
    DamagedList = 6,
    BadContents = 7,
    ListedTwice = 8,

    // A line of the file list
    BadName = 10,
    BadArchiveName = 11,
    BadTarget = 12,
    BadPlatform = 13,
    SharedStem = 14,
    SharedTarget = 15,
    ShownNowhere = 16,
    BadTimeStamp = 17,

    // An archive
    NotUnpackable = 20,
    OutsideTarget = 21,
    NoBuild = 22,
    OtherBuild = 23,
    FutureBuild = 24,
    MissingFile = 25,
    OtherSize = 26,
    OtherSum = 27,
    OtherDate = 28,
    UnlistedFile = 29,

    // A release in place of another one
    SameDate = 30,
    EarlierDate = 31,

    // A line of the package list, and a description
    BadClass = 40,
    BadTitle = 41,
    BadArchives = 42,
    NotForAll = 43,
    MissingDescription = 44,
    DescriptionNotText = 45,
    DescriptionTooLarge = 46,
    UnusedDescription = 47,

    // A server
    NoAnswer = 60,
    NoLength = 61,
    BadLastModified = 62,
    BadRange = 63,
    BadEndOfRange = 64,
    Compressed = 65,
    Redirected = 66,
    ShortConnections = 67,
    BadCertificate = 68,
};

struct RuleInfo
{
    Rule rule;
    Level level; // an error makes the updater go wrong, with a warning it works badly
    const char *mend;
};

/// All rules, by their numbers.
const QList<RuleInfo> &Rules();
const RuleInfo &InfoOf(Rule rule);

/// As in "ZR001".
QString IdOf(Rule rule);

/// One break of a rule.
struct Finding
{
    Rule rule;
    QString subject; // a path, an address or the title of a package
    QString text;    // what is wrong there, with the values that would be right
};

/// What a check found, in its order.
class Findings : public QList<Finding>
{
public:
    void Add(Rule rule, const QString &subject, const QString &text);
    bool HasErrors() const;
};

// For a process that finds something for another one.
QDataStream &operator<<(QDataStream &stream, const Finding &finding);
QDataStream &operator>>(QDataStream &stream, Finding &finding);
