#include "build.h"

#include "Repository/names.h"
#include "base/failure.h"
#include "checks/archive_check.h"
#include "files.h"
#include "jobs.h"
#include "site/site_folder.h"
#include "source/repository_source.h"
#include "time_stamp.h"
#include "zip_writer.h"

#include <QDir>
#include <QFileInfo>
#include <QMap>
#include <QSet>

#include <algorithm>
#include <filesystem>
#include <optional>

namespace {

/// Where things are during a build.
struct Places
{
    QString live;     // the release that is served
    QString previous; // the one before that, or a newer one that was taken back
    QString next;     // the one that is made; empty in a dry run
    QString trials;   // for what is not to stay
};

/// A release in the making, beside the one that users have.
struct Draft
{
    Release before;
    Release previous;
    Release next;
    bool has_new_descriptions = false;
};

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
        release.sources[component.Name()] = {
            component.size, component.modified.toMSecsSinceEpoch(), 0, {}, {}};
    }
    for (const QString &name : source.descriptions) {
        const QFileInfo info(source.descriptions_dir + '/' + name);
        release.sources[QString(kDescriptionsFolder) + '/' + name] = {
            info.size(), info.lastModified().toMSecsSinceEpoch(), 0, {}, {}};
    }
    release.lists.packages = source.packages;
    return release;
}

/// The line of an archive that \a record tells all of.
FileLine LineOf(const Component &component, const SourceRecord &record)
{
    return {component.platform, component.file_name, component.remote_dir,
            record.time_stamp,  record.size,         record.sum};
}

/// True if the record of the last build tells all of the archive, and what it published is there.
bool IsKnown(const Component &component, const Draft &draft, const QString &live)
{
    const QString name = component.Name();
    const SourceRecord record = draft.before.sources.value(name);
    return draft.before.has_our_rules && !record.hash.isEmpty()
           && record.IsOf(draft.next.sources[name]) && IsIntact(LineOf(component, record), live);
}

/// Notes what was read of the archive \a component in \a draft, and sets the date of its copy.
void TakeFacts(const Component &component, const ArchiveFacts &facts, const QString &copy_path,
               Draft &draft)
{
    const QString name = component.Name();
    SourceRecord &record = draft.next.sources[name];
    record.sum = facts.sum;
    record.hash = facts.hash;
    const SourceRecord old = draft.before.sources.value(name);
    QDateTime date = DateOf(component, facts.build);
    // Users have it under the old date.
    if (old.hash == facts.hash && VersionFromTimeStamp(old.time_stamp) == facts.build)
        date = DateOfStamp(old.time_stamp);
    record.time_stamp = TimeStampOf(date);
    if (!copy_path.isEmpty())
        SetDate(copy_path, date);
}

/// Tries the archives, but for those that the last build has tried, and notes what they tell.
void TakeArchives(const RepositorySource &source, const Places &places, Draft &draft,
                  Findings &findings, const ShowProgress &progress)
{
    QList<ArchiveTrial> trials;
    QList<Component> tried;
    for (const Component &component : source.components) {
        const QString name = component.Name();
        if (IsKnown(component, draft, places.live)) {
            draft.next.sources[name] = draft.before.sources[name];
            continue;
        }
        trials.append({name, component.path, InstallTargetOf(component.file_name).dir,
                       places.next.isEmpty() ? QString() : places.next + '/' + name});
        tried.append(component);
    }
    const QList<ArchiveFacts> facts = TryArchives(trials, places.trials, findings,
                                                  [&](int done) { progress(done, trials.size()); });
    for (int i = 0; i < facts.size(); ++i) {
        if (!facts[i].build.isEmpty()) // else a finding says why
            TakeFacts(tried[i], facts[i], trials[i].copy_path, draft);
    }
    for (int i = 0; i < source.components.size(); ++i) {
        FileLine &line = draft.next.lists.files[i];
        line = LineOf(source.components[i], draft.next.sources[NameOf(line)]);
    }
}

/// The records of the descriptions and their pictures.
QMap<QString, QPair<qint64, qint64>> DescriptionsOf(const Release &release)
{
    QMap<QString, QPair<qint64, qint64>> descriptions;
    for (auto it = release.sources.begin(); it != release.sources.end(); ++it) {
        if (it.key().startsWith(QString(kDescriptionsFolder) + '/'))
            descriptions[it.key()] = {it->size, it->modified};
    }
    return descriptions;
}

void PackDescriptions(const RepositorySource &source, const QString &path)
{
    ZipWriter zip(path);
    const QString folder = QString(kDescriptionsFolder) + '/';
    zip.AddFolder(folder); // without descriptions it would be no archive
    for (const QString &name : source.descriptions) {
        QByteArray bytes;
        const QString file = source.descriptions_dir + '/' + name;
        const QString failure = ReadFile(file, bytes);
        if (!failure.isEmpty())
            Fail(QString("%1: %2").arg(file, failure));
        zip.AddFile(folder + name, bytes);
    }
    zip.Close();
}

/// Packs the descriptions into the folder for trials, unless they are known to be those of the
/// release \a before. True if the archive is another one than that release's.
bool PackChangedDescriptions(const RepositorySource &source, const Release &before,
                             const Release &next, const Places &places)
{
    const QString published = InRelease(places.live, DescriptionsPath());
    if (DescriptionsOf(before) == DescriptionsOf(next) && before.number > 0
        && QFileInfo(published).isFile())
        return false;
    const QString path = places.trials + '/' + kDescriptionsArchive;
    PackDescriptions(source, path);
    QByteArray old_bytes;
    QByteArray bytes;
    ReadFile(published, old_bytes);
    return !ReadFile(path, bytes).isEmpty() || bytes != old_bytes;
}

/// \a next is what ReleaseOf() made of the \a source.
Draft MakeDraft(const RepositorySource &source, const Release &next, const Places &places,
                Findings &findings, const ShowProgress &progress)
{
    Draft draft;
    draft.before = ReadRelease(places.live);
    draft.previous = ReadRelease(places.previous);
    draft.next = next;
    TakeArchives(source, places, draft, findings, progress);
    draft.has_new_descriptions = PackChangedDescriptions(source, draft.before, draft.next, places);
    return draft;
}

/// What happens to the archive of the descriptions.
Change DescriptionsChange(const Release &before, bool is_new)
{
    const Change::Kind kind = !is_new              ? Change::Unchanged
                              : before.number == 0 ? Change::Added
                                                   : Change::Changed;
    return {kind, NameInRelease(DescriptionsPath()), "fetched with each connection"};
}

/// The releases that users may have: the one that is served, and a newer one that was taken back.
QList<Release> FormerReleases(const Draft &draft)
{
    if (draft.previous.number > draft.before.number)
        return {draft.before, draft.previous};
    return {draft.before};
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
    for (const FileLine &file : draft.next.lists.files) {
        CheckInterrupted();
        const QString name = NameOf(file);
        const QString old = places.live + '/' + name;
        if (draft.next.sources[name].hash != draft.before.sources.value(name).hash
            || !IsIntact(file, places.live))
            continue; // its copy lies there
        Remove(places.next + '/' + name);
        LinkOrCopy(old, places.next + '/' + name);
    }
    const QString descriptions = InRelease(places.next, DescriptionsPath());
    if (draft.has_new_descriptions) {
        MakeFolder(QFileInfo(descriptions).path());
        Rename(places.trials + '/' + kDescriptionsArchive, descriptions);
    } else {
        LinkOrCopy(InRelease(places.live, DescriptionsPath()), descriptions);
    }
    WriteRelease(draft.next, places.next, places.live);
    Sync(places.next);
    CheckInterrupted();
}

/// Publishes the draft, unless it changes nothing.
void Apply(Draft &draft, const Places &places, SiteFolder &site, BuildResult &result)
{
    const bool is_change =
        std::any_of(result.changes.begin(), result.changes.end(),
                    [](const Change &change) { return change.kind != Change::Unchanged; });
    if (is_change) {
        draft.next.number = std::max(draft.before.number, draft.previous.number) + 1;
        Complete(draft, places);
        result.is_at_once = site.Publish();
        result.outcome = Outcome::Published;
        return;
    }
    result.outcome = Outcome::Nothing;
    draft.next.number = draft.before.number;
    if (RecordOf(draft.next) != RecordOf(draft.before))
        RewriteRecord(draft.next, places.trials, places.live);
}

/// True if the folder \a inner is \a outer or lies in it, whatever names lead to them.
bool LiesIn(const QString &inner, const QString &outer)
{
    std::error_code error;
    const auto path = std::filesystem::weakly_canonical(Encoded(inner), error);
    const auto top = std::filesystem::weakly_canonical(Encoded(outer), error);
    return std::mismatch(top.begin(), top.end(), path.begin(), path.end()).first == top.end();
}

/// A source in what a build exchanges would be lost, and a site in what it reads would be
/// published.
void RefuseOverlap(const QString &source_dir, const RepositorySource &source,
                   const QString &site_dir)
{
    for (const char *const ours : {kLiveFolder, kPreviousFolder, kWorkFolder}) {
        if (LiesIn(source_dir, site_dir + ours))
            Fail(QString("%1: the source lies in %2, which is replaced").arg(source_dir, site_dir));
    }
    QSet<QString> folders = {source.descriptions_dir};
    for (const Component &component : source.components)
        folders.insert(QFileInfo(component.path).path());
    for (const QString &folder : qAsConst(folders)) {
        if (LiesIn(site_dir, folder))
            Fail(QString("%1: the site lies in %2, which is published").arg(site_dir, folder));
    }
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
    if (result.findings.HasErrors()) // the lists would be in parts
        return result;
    RefuseOverlap(source_dir, source, site_dir);
    const Release next = ReleaseOf(source);
    CheckLists(next.lists, result.findings);
    CheckDescriptions(source.packages, source.descriptions_dir, source.descriptions,
                      result.findings);
    if (result.findings.HasErrors())
        return result;

    std::optional<SiteFolder> site;
    std::optional<TemporaryFolder> elsewhere;
    const QString site_path = QDir(site_dir).path();
    Places places = {site_path + kLiveFolder, site_path + kPreviousFolder, {}, {}};
    if (mode == BuildMode::DryRun) {
        elsewhere.emplace();
        places.trials = elsewhere->Path();
    } else {
        site.emplace(site_dir);
        places.next = site->Next();
        places.trials = site->Trials();
    }
    MakeFolder(places.trials);

    Draft draft = MakeDraft(source, next, places, result.findings, progress);
    CheckDates(FormerReleases(draft), draft.next, QDateTime::currentDateTimeUtc().date(),
               result.findings);
    result.changes = CompareReleases(draft.before, draft.next, places.live);
    result.changes.append(DescriptionsChange(draft.before, draft.has_new_descriptions));
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
    const QList<FileLine> &files = next.lists.files;
    if (files.isEmpty() || !std::all_of(files.begin(), files.end(), [&](const FileLine &file) {
            return IsIntact(file, site.Previous());
        }))
        Fail(QString("%1: it is not complete").arg(site.Previous()));
    QByteArray old_descriptions;
    QByteArray new_descriptions;
    ReadFile(InRelease(site.Live(), DescriptionsPath()), old_descriptions);
    ReadFile(InRelease(site.Previous(), DescriptionsPath()), new_descriptions);
    result.changes = CompareReleases(before, next, site.Previous());
    result.changes.append(DescriptionsChange(before, old_descriptions != new_descriptions));
    Count(next, result);
    result.is_at_once = site.RollBack();
    result.outcome = Outcome::Published;
    return result;
}
