#include "componentarchive.h"

#include "delete_folder.h"
#include "unpack.h"

#include <QDir>
#include <QTemporaryDir>

namespace {
const qint64 kMostVersionInfo = 65536;

ArchiveContents ContentsOf(const QDir &place, const QString &componentDir)
{
    ArchiveContents contents;
    contents.strays =
        place.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    contents.strays.removeOne(componentDir);
    QFile versionInfo(place.filePath(componentDir + "/version.info"));
    if (versionInfo.open(QIODevice::ReadOnly))
        contents.versionInfo = versionInfo.read(kMostVersionInfo);
    return contents;
}
} // namespace

ArchiveContents UnpackForTrial(const QString &path, const QString &componentDir)
{
    QTemporaryDir place;
    if (!place.isValid())
        return {place.errorString(), {}, {}};
    place.setAutoRemove(false); // it can't where the archive holds read-only folders
    const std::string destination = QFile::encodeName(place.path()).toStdString();
    Progress silence(-1);
    ArchiveContents contents;
    try {
        Unpack(QFile::encodeName(path).toStdString(), destination, silence);
        contents = ContentsOf(place.path(), componentDir);
    } catch (const std::exception &failure) {
        contents.error = QString::fromLocal8Bit(failure.what());
    }
    DeleteFolder(destination, silence);
    return contents;
}
