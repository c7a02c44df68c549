#include "common/file_copy.h"

#include "common/desktop.h"
#include "common/file_path.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QVector>
#include <QWidget>

#include <algorithm>

namespace {

struct FolderPair
{
    QString from;
    QString to;
};

/// True if \a source can't replace \a destination: it can't be read, is a folder or the same file.
bool RemovalLosesSource(const QString &source, const QString &destination)
{
    const QFileInfo from(source);
    const QFileInfo to(destination);
    const QString place = QDir(to.absolutePath()).canonicalPath() + '/' + to.fileName();
    return !from.isReadable() || from.isDir() || from.canonicalFilePath() == place;
}

/// Whether \a path is \a folder or lies in it; both are canonical.
bool IsInside(const QString &folder, const QString &path)
{
    return path == folder || path.startsWith(folder.endsWith('/') ? folder : folder + '/');
}

/// Appends \a pair and all folders below it but \a left_out. \a walk has the folders above it.
void ListFolders(const FolderPair &pair, const QString &left_out, QStringList walk,
                 QVector<FolderPair> &out)
{
    out.append(pair);
    const QDir dir(pair.from);
    walk.append(dir.canonicalPath());
    for (const QString &name : dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString below = QDir::separator() + name;
        const QString folder = QDir(pair.from + below).canonicalPath();
        const bool leads_back = std::any_of(walk.cbegin(), walk.cend(), [&](const QString &walked) {
            return IsInside(folder, walked);
        });
        if (!leads_back && folder != left_out)
            ListFolders({pair.from + below, pair.to + below}, left_out, walk, out);
    }
}

} // namespace

bool CopyFileHelper(const QString &source, const QString &dest_dir, const QString &dest_name,
                    bool overwrite, bool ask, void *parent)
{
    const QString destination = dest_dir + '/' + dest_name;
    if (!IsFilePresent(destination))
        return QFile::copy(source, destination);

    const QString question =
        dest_name
        + QLatin1String(" already exists in destination directory. Do you want to replace it?");
    if (!overwrite && ask && !ConfirmUserAction(static_cast<QWidget *>(parent), question, true))
        return false;
    return !RemovalLosesSource(source, destination) && DeleteFile(destination)
           && QFile::copy(source, destination);
}

bool CopyFileHelper(const QString &source, const QString &dest_dir, bool overwrite, bool ask,
                    void *parent)
{
    return CopyFileHelper(source, dest_dir, ExtractFileName(source), overwrite, ask, parent);
}

void CopyDirectory(QString source, QString destination)
{
    if (!IsFilePresent(source) || destination.isEmpty())
        return;
    // All folders are listed before one is made, so that the walk can't meet what it made itself.
    QVector<FolderPair> folders;
    const QString left_out = QDir(destination).canonicalPath();
    ListFolders({std::move(source), std::move(destination)}, left_out, {}, folders);
    for (const FolderPair &folder : qAsConst(folders)) {
        QDir().mkpath(folder.to);
        for (const QString &name : QDir(folder.from).entryList(QDir::Files))
            QFile::copy(folder.from + QDir::separator() + name,
                        folder.to + QDir::separator() + name);
    }
}
