#include "build.h"

#include "Repository/names.h"
#include "base/failure.h"
#include "checks/archive_check.h"
#include "files.h"
#include "jobs.h"
#include "site/site_folder.h"
#include "source/repository_source.h"
#include "source/source_folder.h"
#include "time_stamp.h"
#include "zip_writer.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <optional>

namespace {

/// Where things are during a build.
struct Places
{
    QString live;   // the release that is served
    QString next;   // the one that is made; empty in a dry run
    QString trials; // for what is not to stay
};

QString PagesName()
{
    return DescriptionsPath().section('/', 2);
}

SourceStamp StampOf(const Component &component)
{
    return {component.size, component.modified.toMSecsSinceEpoch()};
}

/// The date of the archive in the repository. Its day is that of the build, by which the updater
/// knows what is installed; the file's own date only adds the time, as copies often lose it.
QDateTime DateOf(const Component &component, const QString &build)
{
    const QDate day = QDate::fromString(build, Qt::ISODate);
    if (component.modified.date() != day)
        return {day, QTime(0, 0), Qt::UTC};
    return component.modified;
}

/// The release that \a source makes, without what only its archives can tell.
Release ReleaseOf(const RepositorySource &source)
{
    Release release;
    for (const Component &component : source.components) {
        release.lists.files.append(
            {component.platform, component.file_name, component.remote_dir, {}, 0, 0});
        release.sources[component.Name()] = StampOf(component);
    }
    for (const QString &page : source.pages) {
        const QFileInfo info(source.pages_dir + '/' + page);
        release.sources[QString(kDescriptionsFolder) + '/' + page] = {
            info.size(), info.lastModified().toMSecsSinceEpoch()};
    }
    release.lists.packages = source.packages;
    return release;
}

/// True if the archive is the one that was read for the release \a before, and the file made of it
/// is still what it was.
bool IsUnchanged(const Component &component, const Release &before, const QString &live)
{
    const QString name = component.Name();
    const FileLine file = before.files.value(name);
    const QFileInfo published(live + '/' + name);
    return before.sources.contains(name) && before.sources[name] == StampOf(component)
           && published.isFile() && published.size() == file.file_size
           && TimeStampOf(published.lastModified()) == file.time_stamp;
}

/// Fills in what the archives tell. Returns the names of those that are in the release \a before.
QSet<QString> TakeArchives(const RepositorySource &source, const Release &before,
                           const Places &places, Release &next, Findings &findings,
                           const ShowProgress &progress)
{
    QSet<QString> same_content;
    QList<ArchiveTrial> trials;
    QList<int> tried; // places in the list
    for (int i = 0; i < source.components.size(); ++i) {
        const Component &component = source.components[i];
        const QString name = component.Name();
        if (IsUnchanged(component, before, places.live)) {
            same_content.insert(name);
            continue;
        }
        trials.append({name, component.path, InstallTargetOf(component.file_name).dir,
                       places.next.isEmpty() ? QString() : places.next + '/' + name,
                       before.files.contains(name) ? places.live + '/' + name : QString()});
        tried.append(i);
    }

    const QList<ArchiveFacts> facts = TryArchives(trials, places.trials, findings,
                                                  [&](int done) { progress(done, trials.size()); });
    for (int i = 0; i < facts.size(); ++i) {
        const Component &component = source.components[tried[i]];
        const QDateTime date = DateOf(component, facts[i].build);
        FileLine &line = next.lists.files[tried[i]];
        line.time_stamp = TimeStampOf(date);
        line.file_size = facts[i].size;
        line.checksum = facts[i].sum;
        const FileLine old = before.files.value(component.Name());
        if (facts[i].is_like_rival && old.checksum == line.checksum
            && VersionOf(old.time_stamp) == VersionOf(line.time_stamp))
            same_content.insert(component.Name());
        if (!trials[i].copy_path.isEmpty())
            SetDate(trials[i].copy_path, date);
    }
    for (FileLine &line : next.lists.files) {
        const QString name = NameOf(line);
        if (same_content.contains(name)) {
            const FileLine &old = before.files[name];
            line.time_stamp = old.time_stamp;
            line.file_size = old.file_size;
            line.checksum = old.checksum;
        }
        next.files[name] = line;
    }
    return same_content;
}

QHash<QString, SourceStamp> PagesOf(const Release &release)
{
    QHash<QString, SourceStamp> pages;
    for (auto it = release.sources.begin(); it != release.sources.end(); ++it)
        if (it.key().startsWith(QString(kDescriptionsFolder) + '/'))
            pages[it.key()] = it.value();
    return pages;
}

void PackPages(const RepositorySource &source, const QString &path)
{
    ZipWriter zip(path);
    const QString folder = QString(kDescriptionsFolder) + '/';
    zip.AddFolder(folder); // without pages it would be no archive
    for (const QString &name : source.pages) {
        QByteArray bytes;
        const QString page = source.pages_dir + '/' + name;
        const QString failure = ReadSourceFile(page, bytes);
        if (!failure.isEmpty())
            Fail(QString("%1: %2").arg(page, failure));
        zip.AddFile(folder + name, bytes);
    }
    zip.Close();
}

/// Packs the pages into the folder for trials, unless they are known to be those of the release
/// \a before. True if the archive is another one than that release's.
bool PackChangedPages(const RepositorySource &source, const Release &before, const Release &next,
                      const Places &places)
{
    const QString published = places.live + '/' + PagesName();
    if (PagesOf(before) == PagesOf(next) && before.number > 0 && QFileInfo(published).isFile())
        return false;
    const QString path = places.trials + '/' + kDescriptionsArchive;
    PackPages(source, path);
    QByteArray old_bytes;
    QByteArray bytes;
    ReadSourceFile(published, old_bytes);
    return !ReadSourceFile(path, bytes).isEmpty() || bytes != old_bytes;
}

/// Completes the new release with what it shares with the one before.
void Complete(const Release &next, const QSet<QString> &same_content, bool has_new_pages,
              const Places &places)
{
    for (const QString &name : same_content) {
        CheckInterrupted();
        Remove(places.next + '/' + name); // a copy that turned out to be one
        LinkOrCopy(places.live + '/' + name, places.next + '/' + name);
    }
    const QString pages = places.next + '/' + PagesName();
    if (has_new_pages) {
        MakeFolder(QFileInfo(pages).path());
        Rename(places.trials + '/' + kDescriptionsArchive, pages);
    } else {
        LinkOrCopy(places.live + '/' + PagesName(), pages);
    }
    WriteRelease(next, places.next, places.live);
    Sync(places.next);
}

QDate Today()
{
    return QDateTime::currentDateTimeUtc().date();
}

bool IsChange(const Change &change)
{
    return change.kind != Change::Unchanged;
}

} // namespace

BuildResult Build(const QString &source_dir, const QString &site_dir, BuildMode mode,
                  const ShowProgress &progress)
{
    BuildResult result;
    const RepositorySource source = ReadRepositorySource(source_dir, result.findings);
    Release next = ReleaseOf(source);
    CheckLists(next.lists, result.findings);
    CheckPages(source.packages, source.pages_dir, source.pages, result.findings);
    if (result.findings.HasErrors())
        return result;

    std::optional<SiteFolder> site;
    std::optional<TemporaryFolder> elsewhere;
    Places places = {QDir(site_dir).path() + "/zeft", {}, {}};
    if (mode == BuildMode::DryRun) {
        elsewhere.emplace();
        places.trials = elsewhere->Path();
    } else {
        site.emplace(site_dir);
        places.next = site->Next();
        places.trials = site->Trials();
    }
    MakeFolder(places.trials);

    const Release before = ReadRelease(places.live);
    const QSet<QString> same_content =
        TakeArchives(source, before, places, next, result.findings, progress);
    CheckDates(before, next, same_content, Today(), result.findings);
    const bool has_new_pages = PackChangedPages(source, before, next, places);
    result.changes = CompareReleases(before, next, same_content);
    result.changes.append({!has_new_pages       ? Change::Unchanged
                           : before.number == 0 ? Change::Added
                                                : Change::Changed,
                           PagesName(), "fetched with each connection"});
    for (int i = 0; i < source.components.size(); ++i) {
        if (DateOfStamp(next.lists.files[i].time_stamp).date()
            != source.components[i].modified.date())
            result.dated_by_build << source.components[i].Name();
    }
    result.components = next.lists.files.size();
    result.packages = next.lists.packages.size();
    if (result.findings.HasErrors())
        return result;
    if (mode == BuildMode::DryRun) {
        result.outcome = Outcome::Tried;
    } else if (std::any_of(result.changes.begin(), result.changes.end(), IsChange)) {
        next.number = std::max(before.number, ReleaseNumber(site->Previous())) + 1;
        Complete(next, same_content, has_new_pages, places);
        result.is_at_once = site->Publish();
        result.outcome = Outcome::Published;
    } else {
        result.outcome = Outcome::Nothing;
        next.number = before.number;
        RewriteRecord(next, places.trials, places.live);
    }
    return result;
}

BuildResult RollBack(const QString &site_dir)
{
    BuildResult result;
    SiteFolder site(site_dir);
    const Release before = ReadRelease(site.Live());
    const Release next = ReadRelease(site.Previous());
    QSet<QString> same_content;
    for (auto it = next.files.begin(); it != next.files.end(); ++it)
        if (WriteFileList({*it}) == WriteFileList({before.files.value(it.key())}))
            same_content.insert(it.key());
    CheckDates(before, next, same_content, Today(), result.findings);
    result.changes = CompareReleases(before, next, same_content);
    result.components = next.lists.files.size();
    result.packages = next.lists.packages.size();
    result.is_at_once = site.RollBack();
    result.outcome = Outcome::Published;
    return result;
}
