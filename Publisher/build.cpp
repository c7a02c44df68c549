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
        if (facts[i].build.isEmpty())
            continue;
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

/// A release in the making, beside the one that users have.
struct Draft
{
    Release before;
    Release next;
    QSet<QString> same_content; // names of the archives that both have
    bool has_new_pages = false;
};

Draft MakeDraft(const RepositorySource &source, const Places &places, Findings &findings,
                const ShowProgress &progress)
{
    Draft draft;
    draft.before = ReadRelease(places.live);
    draft.next = ReleaseOf(source);
    draft.same_content = TakeArchives(source, draft.before, places, draft.next, findings, progress);
    draft.has_new_pages = PackChangedPages(source, draft.before, draft.next, places);
    return draft;
}

QList<Change> ChangesOf(const Draft &draft)
{
    QList<Change> changes = CompareReleases(draft.before, draft.next, draft.same_content);
    const Change::Kind pages = !draft.has_new_pages       ? Change::Unchanged
                               : draft.before.number == 0 ? Change::Added
                                                          : Change::Changed;
    changes.append({pages, PagesName(), "fetched with each connection"});
    return changes;
}

/// The archives whose own date is on another day than their build.
QStringList DatedByBuild(const RepositorySource &source, const Release &next)
{
    QStringList names;
    for (int i = 0; i < source.components.size(); ++i) {
        const QDate day = DateOfStamp(next.lists.files[i].time_stamp).date();
        if (day.isValid() && day != source.components[i].modified.date())
            names << source.components[i].Name();
    }
    return names;
}

/// Completes the new release with what it shares with the one before.
void Complete(const Draft &draft, const Places &places)
{
    for (const QString &name : draft.same_content) {
        CheckInterrupted();
        Remove(places.next + '/' + name); // a copy that turned out to be one
        LinkOrCopy(places.live + '/' + name, places.next + '/' + name);
    }
    const QString pages = places.next + '/' + PagesName();
    if (draft.has_new_pages) {
        MakeFolder(QFileInfo(pages).path());
        Rename(places.trials + '/' + kDescriptionsArchive, pages);
    } else {
        LinkOrCopy(places.live + '/' + PagesName(), pages);
    }
    WriteRelease(draft.next, places.next, places.live);
    Sync(places.next);
}

/// Publishes the draft, unless it changes nothing.
void Apply(Draft &draft, const Places &places, SiteFolder &site, BuildResult &result)
{
    const bool is_change =
        std::any_of(result.changes.begin(), result.changes.end(),
                    [](const Change &change) { return change.kind != Change::Unchanged; });
    if (is_change) {
        draft.next.number = std::max(draft.before.number, ReleaseNumber(site.Previous())) + 1;
        Complete(draft, places);
        result.is_at_once = site.Publish();
        result.outcome = Outcome::Published;
        return;
    }
    result.outcome = Outcome::Nothing;
    draft.next.number = draft.before.number;
    if (draft.next.sources != draft.before.sources)
        RewriteRecord(draft.next, places.trials, places.live);
}

QDate Today()
{
    return QDateTime::currentDateTimeUtc().date();
}

void Count(const Release &release, BuildResult &result)
{
    result.components = release.lists.files.size();
    result.packages = release.lists.packages.size();
}

} // namespace

BuildResult Build(const QString &source_dir, const QString &site_dir, BuildMode mode,
                  const ShowProgress &progress)
{
    BuildResult result;
    const RepositorySource source = ReadRepositorySource(source_dir, result.findings);
    CheckLists(ReleaseOf(source).lists, result.findings);
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

    Draft draft = MakeDraft(source, places, result.findings, progress);
    CheckDates(draft.before, draft.next, draft.same_content, Today(), result.findings);
    result.changes = ChangesOf(draft);
    result.dated_by_build = DatedByBuild(source, draft.next);
    Count(draft.next, result);
    if (!result.findings.HasErrors() && site)
        Apply(draft, places, *site, result);
    else if (!result.findings.HasErrors())
        result.outcome = Outcome::Tried;
    return result;
}

BuildResult RollBack(const QString &site_dir)
{
    BuildResult result;
    SiteFolder site(site_dir);
    const Release before = ReadRelease(site.Live());
    const Release next = ReadRelease(site.Previous());
    QSet<QString> same_content;
    for (auto it = next.files.begin(); it != next.files.end(); ++it) {
        if (WriteFileList({*it}) == WriteFileList({before.files.value(it.key())}))
            same_content.insert(it.key());
    }
    CheckDates(before, next, same_content, Today(), result.findings);
    result.changes = CompareReleases(before, next, same_content);
    Count(next, result);
    result.is_at_once = site.RollBack();
    result.outcome = Outcome::Published;
    return result;
}
