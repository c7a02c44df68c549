#include "rules.h"

#include <QDataStream>

#include <algorithm>

const QList<RuleInfo> &Rules()
{
    static const QList<RuleInfo> rules = {
        {Rule::Unreadable, Level::Error, "make it readable, or take it away"},
        {Rule::UnknownKey, Level::Error, "correct repository.json"},
        {Rule::UnlistedFolder, Level::Error, "name it in repository.json, or move it away"},
        {Rule::NotPublished, Level::Warning, "move it away, or put a plain file in its place"},
        {Rule::NothingOffered, Level::Error, "put an archive into a directory that is named"},
        {Rule::DamagedList, Level::Error, "build the site anew"},
        {Rule::BadContents, Level::Error, "correct repository.json"},
        {Rule::ListedTwice, Level::Error, "name it once, with the platform of all its machines"},

        {Rule::BadName, Level::Error, "rename it"},
        {Rule::BadArchiveName, Level::Error, "rename the archive, or pack it anew"},
        {Rule::BadTarget, Level::Error, "rename the archive"},
        {Rule::BadPlatform, Level::Error, "give one of these codes"},
        {Rule::SharedStem, Level::Error, "rename one, or offer them to different machines"},
        {Rule::SharedTarget, Level::Error, "rename one, or offer them to different machines"},
        {Rule::ShownNowhere, Level::Warning, "name it in a package, or take it out"},
        {Rule::BadTimeStamp, Level::Error, "build the site anew"},

        {Rule::NotUnpackable, Level::Error, "pack it anew"},
        {Rule::OutsideTarget, Level::Error, "pack one folder of this name, or rename the archive"},
        {Rule::NoBuild, Level::Error, "put a line such as \"build: 2024.05.01\" into version.info"},
        {Rule::OtherBuild, Level::Error, "build the site anew"},
        {Rule::FutureBuild, Level::Warning, "state the day of the release"},
        {Rule::MissingFile, Level::Error, "build the site anew"},
        {Rule::OtherSize, Level::Error, "delete it there, and build the site anew"},
        {Rule::OtherSum, Level::Error, "delete it there, and build the site anew"},
        {Rule::OtherDate, Level::Error,
         "build the site anew, or copy it with its dates, as rsync -a does"},
        {Rule::UnlistedFile, Level::Warning, "take it away"},

        {Rule::SameDate, Level::Error,
         "state a later build in version.info, and touch the archive"},
        {Rule::EarlierDate, Level::Warning, "state a later build, if that is not meant"},

        {Rule::BadClass, Level::Error, "give one of these numbers"},
        {Rule::BadTitle, Level::Error, "correct the title"},
        {Rule::BadArchives, Level::Error, "name the files of one or two archives"},
        {Rule::NotForAll, Level::Error, "add an archive, or give the package another platform"},
        {Rule::MissingDescription, Level::Error, "put the description into hwd_doc"},
        {Rule::DescriptionNotText, Level::Error, "save the description as UTF-8"},
        {Rule::DescriptionTooLarge, Level::Error, "make it smaller"},
        {Rule::UnusedDescription, Level::Warning, "name it in a package, or take it out"},

        {Rule::NoAnswer, Level::Error, "mend the server"},
        {Rule::NoLength, Level::Error, "serve plain files, without filters"},
        {Rule::BadLastModified, Level::Error, "serve plain files with their dates"},
        {Rule::BadRange, Level::Error, "allow ranges"},
        {Rule::BadEndOfRange, Level::Error, "let the server answer ranges itself"},
        {Rule::Compressed, Level::Error, "turn compression off for these files"},
        {Rule::Redirected, Level::Error, "serve the file under this address"},
        {Rule::ShortConnections, Level::Warning, "allow more requests on a connection"},
        {Rule::BadCertificate, Level::Warning, "get a certificate for this host"},
    };
    return rules;
}

const RuleInfo &InfoOf(Rule rule)
{
    return *std::find_if(Rules().begin(), Rules().end(),
                         [rule](const RuleInfo &info) { return info.rule == rule; });
}

QString IdOf(Rule rule)
{
    return QString("ZR%1").arg(static_cast<int>(rule), 3, 10, QChar('0'));
}

void Findings::Add(Rule rule, const QString &subject, const QString &text)
{
    append({rule, subject, text});
}

bool Findings::HasErrors() const
{
    return std::any_of(begin(), end(), [](const Finding &finding) {
        return InfoOf(finding.rule).level == Level::Error;
    });
}

QDataStream &operator<<(QDataStream &stream, const Finding &finding)
{
    return stream << static_cast<int>(finding.rule) << finding.subject << finding.text;
}

QDataStream &operator>>(QDataStream &stream, Finding &finding)
{
    int rule = 0;
    stream >> rule >> finding.subject >> finding.text;
    finding.rule = static_cast<Rule>(rule);
    return stream;
}
