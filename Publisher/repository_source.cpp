#include "repository_source.h"

#include "Repository/names.h"

#include "source_folder.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace {
QJsonObject ReadDescription(const QString &path, QStringList &problems)
{
    QByteArray bytes;
    const QString failure = ReadSourceFile(path, bytes);
    if (!failure.isEmpty()) {
        problems << failure;
        return {};
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError) {
        problems << QString("%1, line %2: %3")
                        .arg(path)
                        .arg(bytes.left(error.offset).count('\n') + 1)
                        .arg(error.errorString());
    }
    return document.object();
}

/// A key that nobody reads is likely a slip of the pen in one that somebody would.
void CheckKeys(const QJsonObject &object, const QStringList &known, QStringList &problems)
{
    for (const QString &key : object.keys()) {
        if (!known.contains(key))
            problems << QString("repository.json: the key \"%1\" is none of %2")
                            .arg(key, known.join(", "));
    }
}

/// The entries of the list \a key, each of which may have the keys \a known.
QList<QJsonObject> EntriesOf(const QJsonObject &description, const QString &key,
                             const QStringList &known, QStringList &problems)
{
    const QJsonValue list = description[key];
    if (!list.isArray() && !list.isUndefined())
        problems << QString("repository.json: \"%1\" is not a list").arg(key);
    QList<QJsonObject> entries;
    for (const QJsonValue entry : list.toArray()) {
        entries << entry.toObject();
        CheckKeys(entries.last(), known, problems);
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
                              const QStringList &directories, QStringList &problems)
{
    const QString fault = PathFault(remote_dir);
    if (!fault.isEmpty()) {
        problems << QString("directory \"%1\": %2").arg(remote_dir, fault);
        return {};
    }
    const QString path = base.filePath(remote_dir);
    const SourceFolder folder = ReadSourceFolder(path, problems);
    for (const QString &name : folder.folders)
        if (!LeadsTo(directories, remote_dir + '/' + name))
            problems << QString("%1/%2: repository.json doesn't name this folder").arg(path, name);
    QList<Component> components;
    for (const QString &name : folder.files) {
        const QFileInfo info(path + '/' + name);
        const qint64 seconds = info.lastModified().toSecsSinceEpoch();
        components << Component{info.filePath(), remote_dir, name, platform,
                                QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC)};
    }
    return components;
}

Package PackageOf(const QJsonObject &entry)
{
    QStringList archives;
    for (const QJsonValue archive : entry["archives"].toArray())
        archives << archive.toString();
    return {entry["platform"].toInt(), entry["class"].toInt(-1), entry["title"].toString(),
            archives, entry["page"].toString()};
}

/// The files at and below \a path, with \a prefix before their names.
QStringList FilesBelow(const QString &path, const QString &prefix, QStringList &problems)
{
    const SourceFolder folder = ReadSourceFolder(path, problems);
    QStringList files;
    for (const QString &name : folder.files)
        files << prefix + name;
    for (const QString &name : folder.folders)
        files << FilesBelow(path + '/' + name, prefix + name + '/', problems);
    return files;
}
} // namespace

QStringList ReadRepositorySource(const QString &dir, RepositorySource &source)
{
    QStringList problems;
    const QDir base(dir);
    const QJsonObject description = ReadDescription(base.filePath("repository.json"), problems);
    CheckKeys(description, {"directories", "packages"}, problems);

    const auto entries = EntriesOf(description, "directories", {"path", "platform"}, problems);
    QStringList directories;
    for (const QJsonObject &entry : entries)
        directories << entry["path"].toString();
    for (const QJsonObject &entry : entries) {
        source.components << ComponentsOf(base, entry["path"].toString(), entry["platform"].toInt(),
                                          directories, problems);
    }

    const QStringList keys = {"platform", "class", "title", "archives", "page"};
    for (const QJsonObject &entry : EntriesOf(description, "packages", keys, problems))
        source.packages << PackageOf(entry);

    source.pages_dir = base.filePath(kDescriptionsFolder);
    if (QFileInfo(source.pages_dir).isSymLink() || QFileInfo::exists(source.pages_dir))
        source.pages = FilesBelow(source.pages_dir, {}, problems);
    return problems;
}
