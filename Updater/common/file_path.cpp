#include "common/file_path.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

QString ExtractFilePath(const QString &path)
{
    const int slash = path.lastIndexOf('/');
    return slash > 0 ? path.left(slash) : QString();
}

QString ExtractParentPath(const QString &path)
{
    return ExtractFilePath(path);
}

QString ExtractFileName(const QString &path)
{
    return ExtractEndFolder(path);
}

QString ExtractEndFolder(QString path)
{
    if (!path.endsWith('/'))
        path.remove(0, path.lastIndexOf('/') + 1);
    return path;
}

QString ExtractFileNameWithoutExtension(const QString &path, bool with_dir)
{
    const QString folder = with_dir ? ExtractFilePath(path) : QString();
    const bool bare =
        folder.isEmpty() || folder == QLatin1String(".") || folder == QLatin1String("..");
    return (bare ? QString() : folder + '/') + QFileInfo(path).completeBaseName();
}

QString ExtractFileExtension(const QString &path)
{
    return QFileInfo(path).suffix();
}

bool IsFilePresent(const QString &path)
{
    return QFileInfo::exists(path);
}

bool IsFolderPresent(const QString &dir, const QString &name)
{
    return QDir(dir).exists(name);
}

bool IsFolderPresent(const QString &path)
{
    return IsFolderPresent(ExtractParentPath(path), ExtractEndFolder(path));
}

bool MakeDir(const QString &dir, const QString &name)
{
    return QDir(dir).mkdir(name);
}

bool MakePath(const QString &dir, const QString &name)
{
    return QDir(dir).mkpath(name);
}

bool DeleteFile(const QString &path)
{
    return QFile::remove(path);
}

bool DeleteDirectory(const QString &path)
{
    return !path.isEmpty() && QDir(path).removeRecursively();
}

bool DeleteDirectoryContents(const QString &path)
{
    return DeleteDirectory(path) && QDir().mkpath(path);
}

qint64 GetFileSizeInBytes(const QString &path)
{
    return QFileInfo(path).size();
}

QString GetFileModifiedDateTime(const QString &path, bool no_milliseconds, bool local_time,
                                bool keep_time_spec)
{
    const QFileInfo info(path);
    if (!info.exists())
        return QString();
    QDateTime time = info.lastModified(); // local already
    if (!local_time)
        time.setTimeSpec(Qt::UTC);
    if (!keep_time_spec)
        time = time.toUTC();
    return time.toString(no_milliseconds ? Qt::ISODate : Qt::ISODateWithMs);
}

QString RenameFileFolderHelper(const QString &path, QString new_name)
{
    const QString folder = ExtractFilePath(path);
    new_name.prepend(folder + '/');
    return QDir(folder).rename(path, new_name) ? new_name : QString();
}
