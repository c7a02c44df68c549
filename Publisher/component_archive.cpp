#include "component_archive.h"

#include "Repository/version_info.h"
#include "remove/delete_folder.h"
#include "unpack.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <filesystem>

namespace {
QString ContentFault(const QString &place, const QString &dir, const QString &date)
{
    // Qt passes over names that are not UTF-8.
    for (const auto &entry :
         std::filesystem::directory_iterator(QFile::encodeName(place).toStdString())) {
        const QString name = QFile::decodeName(entry.path().filename().c_str());
        if (name != dir)
            return QString("its entry \"%1\" is outside of the folder \"%2\"").arg(name, dir);
    }
    if (!QFileInfo::exists(place + "/" + dir + "/version.info"))
        return QString("it has no \"%1/version.info\"").arg(dir);
    if (CompareBuild(place + "/" + dir, date) != InstalledBuild::This)
        return QString("its version.info doesn't state the archive's date, %1 (UTC), as its build")
            .arg(date);
    return {};
}
} // namespace

QString ArchiveFault(const QString &path, const QString &dir, const QString &date)
{
    QTemporaryDir place;
    if (!place.isValid())
        return QString("it cannot be unpacked: %1").arg(place.errorString());
    place.setAutoRemove(false); // it can't where the archive holds read-only folders
    const std::string destination = QFile::encodeName(place.path()).toStdString();
    Progress silence(-1);
    QString fault;
    try {
        Unpack(QFile::encodeName(path).toStdString(), destination, Purpose::Trial, silence);
        fault = ContentFault(place.path(), dir, date);
    } catch (const std::exception &failure) {
        fault = QString("it cannot be unpacked in %1: %2")
                    .arg(QDir::tempPath(), QString::fromLocal8Bit(failure.what()));
    }
    DeleteFolder(destination, silence);
    return fault;
}
