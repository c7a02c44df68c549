#include "site/release.h"

#include "Repository/names.h"
#include "files.h"
#include "source/source_folder.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

const char kReleaseRecord[] = "zeft_repo.json";

namespace {

// Keys of the record
const char kNumber[] = "release";
const char kMaker[] = "zeft_repo"; // the version; another one may have other rules
const char kSources[] = "sources";

QString RecordIn(const QString &dir)
{
    return dir + '/' + kReleaseRecord;
}

QJsonObject ReadRecord(const QString &dir)
{
    QByteArray bytes;
    ReadSourceFile(RecordIn(dir), bytes);
    return QJsonDocument::fromJson(bytes).object();
}

QByteArray RecordOf(const Release &release)
{
    QJsonObject sources;
    for (auto it = release.sources.begin(); it != release.sources.end(); ++it)
        sources[it.key()] = QJsonArray{it->size, it->modified};
    return QJsonDocument({{kNumber, release.number}, {kMaker, ZEFT_VERSION}, {kSources, sources}})
        .toJson();
}

void WriteList(const QByteArray &bytes, const QString &path, const QString &old_path)
{
    QByteArray old_bytes;
    if (ReadSourceFile(old_path, old_bytes).isEmpty() && old_bytes == bytes)
        LinkOrCopy(old_path, path);
    else
        WriteFile(path, bytes);
}

} // namespace

Release ReadRelease(const QString &dir)
{
    Release release;
    Findings damage; // what can't be read is to be made anew
    release.lists = ReadLists(dir, damage);
    for (const FileLine &file : qAsConst(release.lists.files))
        release.files.insert(NameOf(file), file);

    const QJsonObject record = ReadRecord(dir);
    release.number = record[kNumber].toInt();
    const QJsonObject sources =
        record[kMaker].toString() == ZEFT_VERSION ? record[kSources].toObject() : QJsonObject();
    for (auto it = sources.begin(); it != sources.end(); ++it)
        release.sources[it.key()] = {static_cast<qint64>(it.value().toArray().at(0).toDouble()),
                                     static_cast<qint64>(it.value().toArray().at(1).toDouble())};
    return release;
}

int ReleaseNumber(const QString &dir)
{
    return ReadRecord(dir)[kNumber].toInt();
}

void RewriteRecord(const Release &release, const QString &place, const QString &live)
{
    WriteFile(RecordIn(place), RecordOf(release));
    Rename(RecordIn(place), RecordIn(live));
}

void WriteRelease(const Release &release, const QString &dir, const QString &old_dir)
{
    WriteList(WritePackageList(release.lists.packages), InRelease(dir, PackageListPath()),
              InRelease(old_dir, PackageListPath()));
    WriteList(WriteFileList(release.lists.files), InRelease(dir, FileListPath()),
              InRelease(old_dir, FileListPath()));
    WriteFile(RecordIn(dir), RecordOf(release));
}
