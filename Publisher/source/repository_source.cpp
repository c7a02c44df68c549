#include "source/repository_source.h"

#include "Repository/names.h"
#include "checks/list_check.h"
#include "files.h"
#include "source/source_folder.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QSet>

#include <algorithm>

const char kContentsFile[] = "repository.json";

namespace {

const char kComment[] = "comment"; // for people, in every object

/// The keys that an object may have, each with the type of its value.
using Keys = QMap<QString, QJsonValue::Type>;

QString NameOf(QJsonValue::Type type)
{
    static const QMap<QJsonValue::Type, QString> names = {{QJsonValue::Double, "a whole number"},
                                                          {QJsonValue::String, "a text"},
                                                          {QJsonValue::Array, "a list"}};
    return names[type];
}

/// A key that nobody reads is likely a slip of the pen in one that somebody would.
void CheckKeys(const QJsonObject &object, Keys known, Findings &findings)
{
    known[kComment] = QJsonValue::String;
    for (auto it = object.begin(); it != object.end(); ++it) {
        if (!known.contains(it.key())) {
            findings.Add(
                Rule::UnknownKey, kContentsFile,
                QString("the key \"%1\" is none of %2").arg(it.key(), known.keys().join(", ")));
        } else if (it->type() != known[it.key()]
                   || (it->isDouble() && it->toDouble() != it->toInt())) {
            findings.Add(Rule::BadContents, kContentsFile,
                         QString("\"%1\" is not %2").arg(it.key(), NameOf(known[it.key()])));
        }
    }
}

QJsonObject ReadContents(const QString &path, Findings &findings)
{
    QByteArray bytes;
    const QString failure = ReadFile(path, bytes);
    if (!failure.isEmpty()) {
        findings.Add(Rule::Unreadable, path, failure);
        return {};
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError) {
        findings.Add(Rule::BadContents, path,
                     QString("line %1: %2")
                         .arg(bytes.left(error.offset).count('\n') + 1)
                         .arg(error.errorString()));
    } else if (!document.isObject()) {
        findings.Add(Rule::BadContents, path, "it is not an object, {...}");
    }
    CheckKeys(document.object(),
              {{"directories", QJsonValue::Array}, {"packages", QJsonValue::Array}}, findings);
    return document.object();
}

/// The entries of the list \a key, each of which may have the keys \a known.
QList<QJsonObject> EntriesOf(const QJsonObject &contents, const QString &key, const Keys &known,
                             Findings &findings)
{
    QList<QJsonObject> entries;
    for (const QJsonValue entry : contents[key].toArray()) {
        if (!entry.isObject())
            findings.Add(Rule::BadContents, kContentsFile,
                         QString("an entry of \"%1\" is not an object, {...}").arg(key));
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
                         QString("%1 doesn't name this folder").arg(kContentsFile));
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
                           entry["description"].toString()};

    const QString subject = SubjectOf(package);
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

/// The descriptions and pictures at and below \a path, with \a prefix before their names.
QStringList DescriptionsBelow(const QString &path, const QString &prefix, const QString &base,
                              Findings &findings)
{
    const SourceFolder folder = ReadSourceFolder(path, base, findings);
    QStringList files;
    for (const QString &name : folder.files)
        files << prefix + name;
    for (const QString &name : folder.folders)
        files << DescriptionsBelow(path + '/' + name, prefix + name + '/', base, findings);
    return files;
}

} // namespace

RepositorySource ReadRepositorySource(const QString &dir, Findings &findings)
{
    RepositorySource source;
    const QDir base(dir);
    const QJsonObject contents = ReadContents(base.filePath(kContentsFile), findings);
    const auto entries =
        EntriesOf(contents, "directories",
                  {{"path", QJsonValue::String}, {"platform", QJsonValue::Double}}, findings);
    const auto packages = EntriesOf(contents, "packages",
                                    {{"platform", QJsonValue::Double},
                                     {"class", QJsonValue::Double},
                                     {"title", QJsonValue::String},
                                     {"archives", QJsonValue::Array},
                                     {"description", QJsonValue::String}},
                                    findings);
    if (findings.HasErrors()) // what follows from them would hide them
        return source;

    QStringList directories;
    for (const QJsonObject &entry : entries) {
        const QString path = entry["path"].toString();
        if (directories.contains(path))
            findings.Add(Rule::ListedTwice, QString("directory \"%1\"").arg(path),
                         "it is named twice");
        directories << path;
    }
    for (const QJsonObject &entry : entries)
        source.components << ComponentsOf(base, entry["path"].toString(), entry["platform"].toInt(),
                                          directories, findings);

    source.descriptions_dir = base.filePath(kDescriptionsFolder);
    if (QFileInfo(source.descriptions_dir).isSymLink()
        || QFileInfo::exists(source.descriptions_dir))
        source.descriptions = DescriptionsBelow(source.descriptions_dir, {}, base.path(), findings);
    if (findings.HasErrors())
        return source;

    QSet<QString> published;
    for (const Component &component : source.components)
        published.insert(component.file_name);
    for (const QJsonObject &entry : packages)
        source.packages << PackageOf(entry, published, findings);
    return source;
}
