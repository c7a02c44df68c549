#include "Repository/names.h"

#include <QFileInfo>

#include <algorithm>

const char kFileList[] = "zeft_upt_fversions.info";
const char kPackageList[] = "zeft_bsps.info";
const char kDescriptionsArchive[] = "hwd_doc.zip";
const char kDescriptionsFolder[] = "hwd_doc";

namespace {

const char kTop[] = "/zeft/";
const char kPackagesTop[] = "/zeft/bsp/";

const char kHardware[] = "/hardware";
const char kTools[] = "/hardware/tools";

/// Directories of the program, and those that hold the components of all packages.
const char *const kTakenDirs[] = {"/bin", "/bin_lnx", "/downloads", kHardware, kTools};

/// True for a name that could leave its directory, or forge lines of the log.
bool HasUnsafeCharacter(const QString &name)
{
    return std::any_of(name.begin(), name.end(), [](QChar c) {
        return c == '/' || c == '\\' || c.category() == QChar::Other_Control
               || c.category() == QChar::Separator_Line
               || c.category() == QChar::Separator_Paragraph;
    });
}

/// True for a name that would share a path in the downloads directory with something else.
bool IsTakenInDownloads(const QString &file_name)
{
    return file_name.endsWith(".dnl") || file_name == kDescriptionsArchive
           || file_name == kDescriptionsFolder;
}

} // namespace

QString FileListPath()
{
    return QString(kTop) + kFileList;
}

QString PackageListPath()
{
    return QString(kPackagesTop) + kPackageList;
}

QString DescriptionsPath()
{
    return QString(kPackagesTop) + kDescriptionsArchive;
}

QString ComponentFilePath(const QString &remote_dir, const QString &file_name)
{
    return kTop + remote_dir + '/' + file_name;
}

const QStringList &ArchiveSuffixes()
{
    static const QStringList suffixes = {".zip", ".tar.xz", ".tar.gz", ".tar.bz2", ".tar.7z"};
    return suffixes;
}

QString ArchiveStem(QString file_name)
{
    for (const QString &suffix : ArchiveSuffixes())
        file_name.remove(suffix);
    return file_name;
}

InstallTarget InstallTargetOf(const QString &file_name)
{
    if (!file_name.contains("zeft_bsp"))
        return {QString(), QFileInfo(file_name).completeBaseName()};
    const QString dir = file_name.left(file_name.indexOf('.')).remove("zeft_bsp_");
    if (file_name.contains(".htc"))
        return {kTools, dir};
    if (file_name.contains(".hlib"))
        return {kHardware, dir};
    return {QString(), dir};
}

bool IsInstallable(const QString &file_name)
{
    if (HasUnsafeCharacter(file_name) || IsTakenInDownloads(file_name))
        return false;
    const InstallTarget target = InstallTargetOf(file_name);
    return !target.dir.isEmpty() && target.dir != "." && target.dir != ".."
           && std::none_of(std::begin(kTakenDirs), std::end(kTakenDirs),
                           [&target](const char *taken) { return target.Path() == taken; });
}
