#include "source/repository_source.h"

#include "Repository/names.h"
#include "source/source_folder.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

#include <algorithm>

const char kSourceDescription[] = "repository.json";

namespace {

const char kComment[] = "comment"; // for people, in every object

QJsonObject ReadDescription(const QString &path, Findings &findings)
{
    QByteArray bytes;
    const QString failure = ReadSourceFile(path, bytes);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (!failure.isEmpty())
        findings.Add(Rule::Unreadable, path, failure);
    else if (error.error != QJsonParseError::NoError) {
        findings.Add(Rule::Unreadable, path,
                     QString("line %1: %2")
                         .arg(bytes.left(error.offset).count('\n') + 1)
                         .arg(error.errorString()));
    }
    return document.object();
}

/// A key that nobody reads is likely a slip of the pen in one that somebody would.
void CheckKeys(const QJsonObject &object, const QStringList &known, Findings &findings)
{
    for (const QString &key : object.keys()) {
        if (key != kComment && !known.contains(key)) {
            findings.Add(
                Rule::UnknownKey, kSourceDescription,
                QString("the key \"%1\" is none of %2, %3").arg(key, known.join(", "), kComment));
        }
    }
}

/// The entries of the list \a key, each of which may have the keys \a known.
QList<QJsonObject> EntriesOf(const QJsonObject &description, const QString &key,
                             const QStringList &known, Findings &findings)
{
    const QJsonValue list = description[key];
    if (!list.isArray() && !list.isUndefined())
        findings.Add(Rule::UnknownKey, kSourceDescription,
                     QString("\"%1\" is not a list").arg(key));
    QList<QJsonObject> entries;
    for (const QJsonValue entry : list.toArray()) {
        entries << entry.toObject();
        CheckKeys(entries.last(), known, findings);
    }
    return entries;
}

/// True if one of the \a directories is \a dir or lies below it.
bool LeadsTo(const QStringList &directories, const QString &dir)
{
    return std::any_of(directories.begin(), directories.end(), [&dir](const QString &directory) {
        return (directory + '/').startsWith(dir + '/');
    });
}

/// The components in \a remote_dir, which is one of the \a directories of the repository.
QList<Component> ComponentsOf(const QDir &base, const QString &remote_dir, int platform,
                              const QStringList &directories, Findings &findings)
{
    const QString fault = PathFault(remote_dir);
    if (!fault.isEmpty()) {
        findings.Add(Rule::BadName, QString("directory \"%1\"").arg(remote_dir), fault);
        return {};
    }
    const QString path = base.filePath(remote_dir);
    const SourceFolder folder = ReadSourceFolder(path, base.path(), findings);
    for (const QString &name : folder.folders) {
        if (!LeadsTo(directories, remote_dir + '/' + name))
            findings.Add(Rule::UnlistedFolder, path + '/' + name,
                         QString("%1 doesn't name this folder").arg(kSourceDescription));
    }
    QList<Component> components;
    for (const QString &name : folder.files) {
        const QFileInfo info(path + '/' + name);
        components << Component{
            info.filePath(), remote_dir, name, platform, info.lastModified().toUTC(), info.size()};
    }
    return components;
}

PackageLine PackageOf(const QJsonObject &entry, const QSet<QString> &published, Findings &findings)
{
    QStringList archives;
    for (const QJsonValue archive : entry["archives"].toArray())
        archives << archive.toString();
    PackageLine package = {entry["platform"].toInt(),      entry["class"].toInt(-1),
                           entry["title"].toString(),      QString(),
                           ArchiveStem(archives.value(0)), ArchiveStem(archives.value(1)),
                           entry["page"].toString()};

    const QString subject = QString("package \"%1\"").arg(package.title);
    if (archives.isEmpty() || archives.size() > 2)
        findings.Add(Rule::BadArchives, subject, "it needs one or two archives");
    for (const QString &archive : archives) {
        if (!published.contains(archive) || archives.count(archive) > 1) {
            findings.Add(
                Rule::BadArchives, subject,
                QString("the archive \"%1\" is in no directory, or named twice").arg(archive));
        }
    }
    return package;
}

/// The pages and pictures at and below \a path, with \a prefix before their names.
QStringList PagesBelow(const QString &path, const QString &prefix, const QString &base,
                       Findings &findings)
{
    const SourceFolder folder = ReadSourceFolder(path, base, findings);
    QStringList files;
    for (const QString &name : folder.files)
        files << prefix + name;
    for (const QString &name : folder.folders)
        files << PagesBelow(path + '/' + name, prefix + name + '/', base, findings);
    return files;
}

} // namespace

RepositorySource ReadRepositorySource(const QString &dir, Findings &findings)
{
    RepositorySource source;
    const QDir base(dir);
    const QJsonObject description = ReadDescription(base.filePath(kSourceDescription), findings);
    CheckKeys(description, {"directories", "packages"}, findings);

    const auto entries = EntriesOf(description, "directories", {"path", "platform"}, findings);
    QStringList directories;
    for (const QJsonObject &entry : entries)
        directories << entry["path"].toString();
    for (const QJsonObject &entry : entries)
        source.components << ComponentsOf(base, entry["path"].toString(), entry["platform"].toInt(),
                                          directories, findings);

    QSet<QString> published;
    for (const Component &component : source.components)
        published.insert(component.file_name);
    const QStringList keys = {"platform", "class", "title", "archives", "page"};
    for (const QJsonObject &entry : EntriesOf(description, "packages", keys, findings))
        source.packages << PackageOf(entry, published, findings);

    source.pages_dir = base.filePath(kDescriptionsFolder);
    if (QFileInfo(source.pages_dir).isSymLink() || QFileInfo::exists(source.pages_dir))
        source.pages = PagesBelow(source.pages_dir, {}, base.path(), findings);
    return source;
}
