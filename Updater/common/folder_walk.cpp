#include "common/folder_walk.h"

#include "common/file_path.h"

#include <QDir>

namespace {

const QDir::Filters kFolders = QDir::Dirs | QDir::NoSymLinks | QDir::NoDotAndDotDot;
const QDir::Filters kFiles = QDir::Files | QDir::NoSymLinks | QDir::NoDotAndDotDot;

/// The names in \a dir, which \a full_path turns into paths.
QStringList List(const QString &dir, const QStringList &filters, QDir::Filters kind, bool full_path)
{
    QStringList names = QDir(dir).entryList(filters, kind);
    if (full_path) {
        for (QString &name : names)
            name.prepend(dir + '/');
    }
    return names;
}

/// What both listings have in common: the entries of a \a kind, those of sub-folders first.
void Walk(const QString &dir, const QStringList &filters, QDir::Filters kind, QStringList &out,
          bool full_path, bool recurse)
{
    if (dir.isEmpty())
        return;
    if (recurse) {
        for (const QString &folder : List(dir, {}, kFolders, true))
            Walk(folder, filters, kind, out, full_path, recurse);
    }
    out += List(dir, filters, kind, full_path);
}

} // namespace

QString GetRelativePath(const QString &base, QString path)
{
    if (!path.contains(base))
        return path;
    path.remove(base);
    if (path.startsWith('/'))
        path.remove(0, 1);
    return path;
}

bool IsAbsolutePath(const QString &path)
{
    return path.size() >= 2 && (path.contains(':') || path.startsWith('/'));
}

bool IsPathPresent(const QString &path)
{
    return path.contains('/') || path.contains('\\');
}

QString GetAbsolutePath(const QStringList &dirs, QString path)
{
    if (IsAbsolutePath(path))
        return path;
    for (const QString &dir : dirs) {
        QString candidate = path.isEmpty() ? dir : dir + '/' + path;
        if (IsFilePresent(candidate))
            return candidate;
    }
    return path;
}

void GetDirectorySubDirNames(const QString &dir, QStringList &out, bool full_path, bool recurse,
                             bool sort)
{
    Walk(dir, {}, kFolders, out, full_path, recurse);
    if (sort)
        out.sort(Qt::CaseSensitive);
}

void GetDirectoryFileNames(const QString &dir, const QStringList &filters, QStringList &out,
                           bool full_path, bool recurse, bool sort)
{
    Walk(dir, filters, kFiles, out, full_path, recurse);
    if (sort)
        out.sort(Qt::CaseSensitive);
}

void GetDirectoryFileNames(const QString &dir, QStringList &out, bool full_path, bool recurse,
                           bool sort)
{
    GetDirectoryFileNames(dir, {}, out, full_path, recurse, sort);
}

QString FindFilePath(const QString &dir, const QString &name)
{
    const QString extension = ExtractFileExtension(name);
    QStringList filters;
    if (!extension.trimmed().isEmpty())
        filters.append(QLatin1String("*.") + extension);
    QStringList paths;
    GetDirectoryFileNames(dir, filters, paths, true, true, false);
    for (const QString &path : paths) {
        if (path.contains(name))
            return ExtractFilePath(path);
    }
    return QString();
}
