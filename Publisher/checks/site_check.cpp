#include "checks/site_check.h"

#include "Repository/names.h"
#include "checks/archive_check.h"
#include "files.h"
#include "jobs.h"
#include "time_stamp.h"
#include "unpack.h"

#include <QFileInfo>
#include <QSet>

namespace {

void CheckUnlisted(const Lists &lists, const QString &dir, Findings &findings)
{
    QSet<QString> known = {kReleaseRecord};
    for (const QString &path : {FileListPath(), PackageListPath(), DescriptionsPath()})
        known.insert(NameInRelease(path));
    for (const FileLine &file : lists.files)
        known.insert(NameOf(file));
    for (const QString &file : FilesBelow(dir))
        if (!known.contains(file))
            findings.Add(Rule::UnlistedFile, file, "no list names it");
}

/// Compares what an archive holds with its line in the list.
void CompareFacts(const FileLine &file, const ArchiveFacts &facts, Findings &findings)
{
    const QString name = NameOf(file);
    const QString version = VersionFromTimeStamp(file.time_stamp);
    if (facts.sum != file.checksum) {
        findings.Add(Rule::OtherSum, name,
                     QString("its bytes sum up to %1, the list states %2")
                         .arg(facts.sum)
                         .arg(file.checksum));
    }
    if (!facts.build.isEmpty() && facts.build != version) {
        findings.Add(Rule::OtherBuild, name,
                     QString("its version.info states %1, its date is %2: it would read \"Update "
                             "Available\" for ever")
                         .arg(facts.build, version));
    }
}

} // namespace

void CheckTimeStamps(const Lists &lists, Findings &findings)
{
    for (const FileLine &file : lists.files) {
        if (!DateOfStamp(file.time_stamp).isValid()) {
            findings.Add(
                Rule::BadTimeStamp, NameOf(file),
                QString("\"%1\" is not of the form 2024-05-01T12:00:00.000Z").arg(file.time_stamp));
        }
    }
}

void CompareWithLine(const FileLine &file, qint64 size, const QDateTime &date, Findings &findings)
{
    if (size != file.file_size)
        findings.Add(Rule::OtherSize, NameOf(file),
                     QString("it has %1 bytes, the list states %2").arg(size).arg(file.file_size));
    const QString stamp = TimeStampOf(date);
    if (stamp != file.time_stamp && DateOfStamp(file.time_stamp).isValid())
        findings.Add(Rule::OtherDate, NameOf(file),
                     QString("its date is %1, the list states %2").arg(stamp, file.time_stamp));
}

void CheckArchives(const Lists &lists, const QString &dir, const QString &place, Findings &findings,
                   const std::function<void(int, int)> &progress)
{
    QList<ArchiveTrial> trials;
    QList<FileLine> tried;
    for (const FileLine &file : lists.files) {
        const QString name = NameOf(file);
        if (!PathFault(name).isEmpty()) // no place to look at
            continue;
        const QFileInfo info(dir + '/' + name);
        if (!info.isFile()) {
            findings.Add(Rule::MissingFile, name, "the list names it, and it isn't there");
            continue;
        }
        CompareWithLine(file, info.size(), info.lastModified(), findings);
        trials.append({name, info.filePath(), InstallTargetOf(file.file_name).dir, {}});
        tried.append(file);
    }
    const QList<ArchiveFacts> facts =
        TryArchives(trials, place, findings, [&](int done) { progress(done, trials.size()); });
    for (int i = 0; i < facts.size(); ++i)
        CompareFacts(tried[i], facts[i], findings);
}

void CheckDescriptionsArchive(const Lists &lists, const QString &dir, const QString &place,
                              Findings &findings)
{
    const QString path = InRelease(dir, DescriptionsPath());
    const QString descriptions = place + '/' + kDescriptionsFolder;
    QString failure = "the process that unpacked it was killed";
    RunJobs(
        1,
        [&](int) {
            Progress silence(-1);
            try {
                Unpack(Encoded(path), Encoded(place), Purpose::Trial, silence);
                return QByteArray("");
            } catch (const std::exception &refusal) {
                return QByteArray(refusal.what());
            }
        },
        [&failure](int, const QByteArray &result) {
            if (!result.isNull())
                failure = QString::fromLocal8Bit(result);
        });
    if (!failure.isEmpty())
        return findings.Add(Rule::NotUnpackable, NameInRelease(DescriptionsPath()),
                            QString("it cannot be unpacked in %1: %2").arg(place, failure));
    CheckDescriptions(lists.packages, descriptions, FilesBelow(descriptions), findings);
}

void CheckRelease(const QString &dir, const QString &place, Findings &findings,
                  const std::function<void(int, int)> &progress)
{
    const Lists lists = ReadLists(dir, findings);
    CheckLists(lists, findings);
    CheckTimeStamps(lists, findings);
    CheckUnlisted(lists, dir, findings);
    CheckDescriptionsArchive(lists, dir, place, findings);
    CheckArchives(lists, dir, place, findings, progress);
}
