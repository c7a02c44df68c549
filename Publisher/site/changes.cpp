#include "site/changes.h"

#include "Repository/names.h"
#include "Repository/platform.h"
#include "time_stamp.h"

#include <QSet>

#include <algorithm>

namespace {

QString NoticeOf(const FileLine &before, const FileLine &next)
{
    if (VersionOf(before.time_stamp) != VersionOf(next.time_stamp))
        return QString("an update from %1 to %2")
            .arg(VersionOf(before.time_stamp), VersionOf(next.time_stamp));
    return before.platform == next.platform
               ? QString("new content")
               : QString("now for %1").arg(PlatformName(next.platform));
}

void CompareFiles(const Release &before, const Release &next, const QSet<QString> &same_content,
                  QList<Change> &changes)
{
    for (const FileLine &file : next.lists.files) {
        const QString name = NameOf(file);
        const FileLine old = before.files.value(name);
        if (!before.files.contains(name)) {
            changes.append(
                {Change::Added, name,
                 QString("for %1, into ROOT%2")
                     .arg(PlatformName(file.platform), InstallTargetOf(file.file_name).Path())});
        } else if (same_content.contains(name) && old.platform == file.platform) {
            changes.append({Change::Unchanged, name, QString()});
        } else {
            changes.append({Change::Changed, name, NoticeOf(old, file)});
        }
    }
    for (const FileLine &file : before.lists.files)
        if (!next.files.contains(NameOf(file)))
            changes.append({Change::Removed, NameOf(file), "whoever has it keeps it"});
}

bool IsEqual(const QList<PackageLine> &a, const QList<PackageLine> &b)
{
    return WritePackageList(a) == WritePackageList(b);
}

void ComparePackages(const QList<PackageLine> &before, const QList<PackageLine> &next,
                     QList<Change> &changes)
{
    const auto key = [](const PackageLine &package) {
        return QString("%1#%2").arg(package.platform).arg(package.title);
    };
    QHash<QString, PackageLine> old;
    for (const PackageLine &package : before)
        old.insert(key(package), package);
    for (const PackageLine &package : next) {
        const QString name = QString("package \"%1\"").arg(package.title);
        if (!old.contains(key(package)))
            changes.append({Change::Added, name, "a new line in the tree"});
        else if (IsEqual({old.take(key(package))}, {package}))
            changes.append({Change::Unchanged, name, QString()});
        else
            changes.append({Change::Changed, name, "other archives, page or place in the tree"});
    }
    for (const PackageLine &package : before) {
        if (old.contains(key(package)))
            changes.append({Change::Removed, QString("package \"%1\"").arg(package.title),
                            "its line leaves the tree"});
    }
}

} // namespace

QString KindName(Change::Kind kind)
{
    static const char *const names[] = {"added", "changed", "removed", "unchanged"};
    return names[kind];
}

QList<Change> CompareReleases(const Release &before, const Release &next,
                              const QSet<QString> &same_content)
{
    QList<Change> changes;
    CompareFiles(before, next, same_content, changes);
    ComparePackages(before.lists.packages, next.lists.packages, changes);
    const bool is_change = std::any_of(changes.begin(), changes.end(), [](const Change &change) {
        return change.kind != Change::Unchanged;
    });
    if (!is_change && !IsEqual(before.lists.packages, next.lists.packages))
        changes.append({Change::Changed, kPackageList, "another order in the tree"});
    return changes;
}

void CheckDates(const Release &before, const Release &next, const QSet<QString> &same_content,
                const QDate &today, Findings &findings)
{
    // A release may have a directory of its own, so the file's name is what users have.
    const auto key = [](const FileLine &file) {
        return QString("%1#%2").arg(file.platform).arg(file.file_name);
    };
    QHash<QString, FileLine> former;
    for (const FileLine &file : before.lists.files)
        former.insert(key(file), file);

    for (const FileLine &file : next.lists.files) {
        const QString name = NameOf(file);
        const QString version = VersionOf(file.time_stamp);
        if (version.isEmpty()) // a finding says why
            continue;
        if (version > today.toString(Qt::ISODate))
            findings.Add(Rule::FutureBuild, name, QString("%1 is in the future").arg(version));
        const FileLine old = former.value(key(file));
        const bool is_moved =
            NameOf(old) != name && old.file_size == file.file_size && old.checksum == file.checksum;
        if (old.file_name.isEmpty() || is_moved || same_content.contains(name))
            continue;
        const QString old_version = VersionOf(old.time_stamp);
        if (version == old_version)
            findings.Add(Rule::SameDate, name,
                         QString("new content under the date that users already have, %1: nobody "
                                 "will get it")
                             .arg(version));
        else if (version < old_version)
            findings.Add(Rule::EarlierDate, name,
                         QString("%1 is older than what users have, %2: they get an older version")
                             .arg(version, old_version));
    }
}
