#include "site/changes.h"

#include "Repository/names.h"
#include "Repository/platform.h"

#include <QSet>

#include <algorithm>

namespace {

QString NoticeOf(const FileLine &before, const FileLine &next, bool is_same_content)
{
    const QString old_version = VersionFromTimeStamp(before.time_stamp);
    const QString version = VersionFromTimeStamp(next.time_stamp);
    if (version != old_version)
        return QString(version > old_version ? "an update from %1 to %2" : "back from %1 to %2")
            .arg(old_version, version);
    if (before.platform != next.platform)
        return QString("now for %1").arg(PlatformName(next.platform));
    return is_same_content ? "put back as users have it" : "new content";
}

void CompareFiles(const Release &before, const Release &next, const QString &live,
                  QList<Change> &changes)
{
    QHash<QString, FileLine> old_files; // by their names
    for (const FileLine &file : before.lists.files)
        old_files[NameOf(file)] = file;
    for (const FileLine &file : next.lists.files) {
        const QString name = NameOf(file);
        const bool is_added = !old_files.contains(name);
        const FileLine old = old_files.take(name);
        if (is_added) {
            changes.append(
                {Change::Added, name,
                 QString("for %1, into ROOT%2")
                     .arg(PlatformName(file.platform), InstallTargetOf(file.file_name).Path())});
            continue;
        }
        const bool is_same = IsSameContent(before, old, next, file);
        if (is_same && WriteFileList({old}) == WriteFileList({file}) && IsIntact(file, live))
            changes.append({Change::Unchanged, name, QString()});
        else
            changes.append({Change::Changed, name, NoticeOf(old, file, is_same)});
    }
    for (const FileLine &file : before.lists.files)
        if (old_files.contains(NameOf(file)))
            changes.append({Change::Removed, NameOf(file), "whoever has it keeps it"});
}

/// Compares the lines of packages. Several may have one title.
void ComparePackages(const QList<PackageLine> &before, const QList<PackageLine> &next,
                     QList<Change> &changes)
{
    QMultiHash<QString, QByteArray> old; // lines by their titles
    for (const PackageLine &package : before)
        old.insert(package.title, WritePackageList({package}));
    QList<PackageLine> others;
    for (const PackageLine &package : next) {
        if (old.remove(package.title, WritePackageList({package})) > 0)
            changes.append({Change::Unchanged, SubjectOf(package), QString()});
        else
            others.append(package);
    }
    for (const PackageLine &package : qAsConst(others)) {
        if (old.take(package.title).isEmpty())
            changes.append({Change::Added, SubjectOf(package), "a new line in the tree"});
        else
            changes.append({Change::Changed, SubjectOf(package),
                            "other archives, machines, description or place in the tree"});
    }
    for (auto it = old.begin(); it != old.end(); ++it)
        changes.append(
            {Change::Removed, QString("package \"%1\"").arg(it.key()), "its line leaves the tree"});
}

/// The lines of \a release by machine and file name, which is how a user's machine knows a file:
/// its directory may be another one in each release.
QHash<QString, FileLine> ByMachine(const Release &release)
{
    QHash<QString, FileLine> lines;
    for (const FileLine &file : release.lists.files) {
        for (const QString &machine : Architectures())
            if (IsForArchitecture(file.platform, machine))
                lines.insert(machine + ": " + file.file_name, file);
    }
    return lines;
}

/// The lines of \a former that users of \a file may have now, each once.
QList<FileLine> FormerLines(const QHash<QString, FileLine> &former, const FileLine &file)
{
    QList<FileLine> lines;
    QSet<QString> names;
    for (const QString &machine : Architectures()) {
        const auto found = former.find(machine + ": " + file.file_name);
        if (IsForArchitecture(file.platform, machine) && found != former.end()
            && !names.contains(NameOf(*found))) {
            names.insert(NameOf(*found));
            lines.append(*found);
        }
    }
    return lines;
}

void CheckDate(const FileLine &old, const FileLine &file, Findings &findings)
{
    const QString old_version = VersionFromTimeStamp(old.time_stamp);
    const QString version = VersionFromTimeStamp(file.time_stamp);
    if (version == old_version) {
        findings.Add(Rule::SameDate, NameOf(file),
                     QString("new content under the date that users already have, %1: nobody "
                             "will get it")
                         .arg(version));
    } else if (version < old_version) {
        findings.Add(Rule::EarlierDate, NameOf(file),
                     QString("%1 is older than what users have, %2: they get an older version")
                         .arg(version, old_version));
    }
}

} // namespace

QString KindName(Change::Kind kind)
{
    static const char *const names[] = {"added", "changed", "removed", "unchanged"};
    return names[kind];
}

QList<Change> CompareReleases(const Release &before, const Release &next, const QString &live)
{
    QList<Change> changes;
    CompareFiles(before, next, live, changes);
    ComparePackages(before.lists.packages, next.lists.packages, changes);
    const bool is_change = std::any_of(changes.begin(), changes.end(), [](const Change &change) {
        return change.kind != Change::Unchanged;
    });
    if (!is_change
        && (WritePackageList(before.lists.packages) != WritePackageList(next.lists.packages)
            || WriteFileList(before.lists.files) != WriteFileList(next.lists.files)))
        changes.append({Change::Changed, "the lists", "another order"});
    return changes;
}

void CheckDates(const QList<Release> &former, const Release &next, const QDate &today,
                Findings &findings)
{
    for (const FileLine &file : next.lists.files) {
        if (VersionFromTimeStamp(file.time_stamp) > today.toString(Qt::ISODate))
            findings.Add(Rule::FutureBuild, NameOf(file),
                         QString("%1 is in the future").arg(VersionFromTimeStamp(file.time_stamp)));
    }
    for (const Release &release : former) {
        const QHash<QString, FileLine> lines = ByMachine(release);
        for (const FileLine &file : next.lists.files) {
            if (file.time_stamp.isEmpty()) // a finding says why
                continue;
            for (const FileLine &old : FormerLines(lines, file))
                if (!IsSameContent(release, old, next, file))
                    CheckDate(old, file, findings);
        }
    }
}
