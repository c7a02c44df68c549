#include "site/release.h"

#include "Repository/names.h"
#include "files.h"
#include "time_stamp.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

const int kHighestNumber = 1 << 30; // of a release; a higher one is damage

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
    ReadFile(RecordIn(dir), bytes);
    return QJsonDocument::fromJson(bytes).object();
}

int NumberIn(const QJsonObject &record)
{
    return qBound(0, record[kNumber].toInt(), kHighestNumber);
}

void WriteList(const QByteArray &bytes, const QString &path, const QString &old_path)
{
    QByteArray old_bytes;
    if (ReadFile(old_path, old_bytes).isEmpty() && old_bytes == bytes)
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
    const QJsonObject record = ReadRecord(dir);
    release.number = NumberIn(record);
    release.has_our_rules = record[kMaker].toString() == ZEFT_VERSION;
    const QJsonObject sources = record[kSources].toObject();
    for (auto it = sources.begin(); it != sources.end(); ++it) {
        const QJsonArray values = it.value().toArray();
        release.sources[it.key()] = {
            static_cast<qint64>(values[0].toDouble()), static_cast<qint64>(values[1].toDouble()),
            static_cast<qint64>(values[2].toDouble()), values[3].toString(), values[4].toString()};
    }
    return release;
}

int ReleaseNumber(const QString &dir)
{
    return NumberIn(ReadRecord(dir));
}

bool IsIntact(const FileLine &file, const QString &dir)
{
    const QFileInfo info(dir + '/' + NameOf(file));
    return info.isFile() && info.size() == file.file_size
           && TimeStampOf(info.lastModified()) == file.time_stamp;
}

bool IsSameContent(const Release &a, const FileLine &file_a, const Release &b,
                   const FileLine &file_b)
{
    const QString hash_a = a.sources.value(NameOf(file_a)).hash;
    const QString hash_b = b.sources.value(NameOf(file_b)).hash;
    if (!hash_a.isEmpty() && !hash_b.isEmpty())
        return hash_a == hash_b;
    return file_a.file_size == file_b.file_size && file_a.checksum == file_b.checksum;
}

QByteArray RecordOf(const Release &release)
{
    QJsonObject sources;
    for (auto it = release.sources.begin(); it != release.sources.end(); ++it)
        sources[it.key()] = QJsonArray{it->size, it->modified, it->sum, it->hash, it->time_stamp};
    return QJsonDocument({{kNumber, release.number}, {kMaker, ZEFT_VERSION}, {kSources, sources}})
        .toJson();
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
