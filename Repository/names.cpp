#include "Repository/names.h"

#include <QFileInfo>
#include <QSysInfo>

#include <algorithm>

const char kFileList[] = "zeft_upt_fversions.info";
const char kPackageList[] = "zeft_bsps.info";

const char kCoreDirectory[] = "core/version_latest";
const char kBlocksDirectory[] = "blocks/version_latest";

namespace {

const char kTop[] = "/zeft/";
const char kPackagesTop[] = "/zeft/bsp/";

const char kHardware[] = "/hardware";
const char kTools[] = "/hardware/tools";

/// Directories of the program, and those that hold the components of all packages.
const char *const kTakenDirs[] = {"/bin", "/bin_lnx", "/downloads", kHardware, kTools};

/// True for a character that could forge lines of a log.
bool IsControlCharacter(QChar c)
{
    return c.category() == QChar::Other_Control || c.category() == QChar::Separator_Line
           || c.category() == QChar::Separator_Paragraph;
}

/// True for a name that could leave its directory, or forge lines of the log.
bool HasUnsafeCharacter(const QString &name)
{
    return name.contains('/') || name.contains('\\')
           || std::any_of(name.begin(), name.end(), IsControlCharacter);
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

QString UserAgent()
{
    // The system's name takes reading a file.
    static const QString agent = QString("ZEFT-Updater (%1)").arg(QSysInfo::prettyProductName());
    return agent;
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

QString NameFault(const QString &name)
{
    // "#" separates the fields of a manifest, the others mean something else in a URL or a path.
    static const QString special = "#?%/\\";
    if (name.isEmpty())
        return "a name is empty";
    if (name == "." || name == "..")
        return QString("\"%1\" is not a name").arg(name);
    if (name.trimmed() != name)
        return QString("\"%1\" begins or ends with a blank").arg(name);
    for (const QChar c : name) {
        if (special.contains(c))
            return QString("\"%1\" holds a \"%2\"").arg(name, c);
        if (IsControlCharacter(c))
            return QString("\"%1\" holds a control character").arg(name);
    }
    return {};
}

QString PathFault(const QString &path)
{
    for (const QString &part : path.split('/')) {
        QString fault = NameFault(part);
        if (!fault.isEmpty())
            return fault;
    }
    return {};
}

bool IsArchiveName(const QString &file_name)
{
    const QString stem = ArchiveStem(file_name); // loses a suffix that stands in the middle, too
    return std::any_of(
        ArchiveSuffixes().begin(), ArchiveSuffixes().end(),
        [&](const QString &suffix) { return !stem.isEmpty() && file_name == stem + suffix; });
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
