#include "repositorysource.h"

#include "naming.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {
QJsonObject ReadDescription(const QString &path, QStringList &problems)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        problems << QString("%1: %2").arg(path, file.errorString());
        return {};
    }
    const QByteArray bytes = file.readAll();
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

QList<Component> ComponentsOf(const QDir &base, const QJsonObject &entry, QStringList &problems)
{
    const QString remoteDir = entry["path"].toString();
    const QString fault = PathFault(remoteDir);
    if (!fault.isEmpty()) {
        problems << QString("directory \"%1\": %2").arg(remoteDir, fault);
        return {};
    }
    const QDir dir(base.filePath(remoteDir));
    if (!dir.exists()) {
        problems << QString("directory \"%1\" does not exist").arg(remoteDir);
        return {};
    }
    QList<Component> components;
    for (const QFileInfo &info : dir.entryInfoList(QDir::Files | QDir::Hidden, QDir::Name)) {
        const qint64 seconds = info.lastModified().toSecsSinceEpoch();
        components << Component{info.filePath(), remoteDir, info.fileName(),
                                entry["platform"].toInt(),
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
} // namespace

QStringList ReadRepositorySource(const QString &dir, RepositorySource &source)
{
    QStringList problems;
    const QDir base(dir);
    const QJsonObject description = ReadDescription(base.filePath("repository.json"), problems);
    CheckKeys(description, {"directories", "packages"}, problems);
    for (const QJsonObject &entry :
         EntriesOf(description, "directories", {"path", "platform"}, problems))
        source.components << ComponentsOf(base, entry, problems);
    const QStringList keys = {"platform", "class", "title", "archives", "page"};
    for (const QJsonObject &entry : EntriesOf(description, "packages", keys, problems))
        source.packages << PackageOf(entry);
    source.pagesDir = base.filePath("hwd_doc");
    return problems;
}
