#include "pipeline/versioninfo.h"

#include "app/mainwindow_helper.h"
#include "common/common_helper.h"

static const qint64 kMostBytes = 1000000; // of a version.info, which needs a line

QString BuildFromVersionInfo(const QByteArray &bytes)
{
    const QString text = QString::fromLatin1(bytes.constData()); // up to a NUL
    return GetKeyValue("build", ":", text).trimmed().replace('.', '-');
}

int StatusOnDisk(const QString &install_root, const QString &install_dir, const QString &version)
{
    if (!IsFolderPresent(install_root + "/", install_dir))
        return RecordStatus::NotInstalled;
    const QString path = install_root + "/" + install_dir + "/version.info";
    if (!IsFilePresent(path) || GetFileSizeInBytes(path) > kMostBytes)
        return RecordStatus::UpdateAvailable;
    QByteArray bytes;
    GetFileData(path, bytes);
    const QString build = BuildFromVersionInfo(bytes);
    // A server that states no date leaves a version empty; that proves nothing.
    return !build.isEmpty() && build == version ? RecordStatus::Installed
                                                : RecordStatus::UpdateAvailable;
}
