#include "catalogue/manifests.h"

#include "app/mainwindow_helper.h"
#include "catalogue/documents.h"
#include "common/common_helper.h"

#include <algorithm>

namespace {

const char kMarker[] = "//zeft_upt_fversions.info\r\n";

/// Directories of the program, and those that hold the components of all packages.
const char *const kTakenDirs[] = {"/bin", "/bin_lnx", "/downloads", "/hardware", "/hardware/tools"};

/// True for a name that could leave its directory, or forge lines of the log.
bool HasUnsafeCharacter(const QString &name)
{
    return std::any_of(name.begin(), name.end(), [](QChar c) {
        return c == '/' || c == '\\' || c.category() == QChar::Other_Control
               || c.category() == QChar::Separator_Line
               || c.category() == QChar::Separator_Paragraph;
    });
}

} // namespace

QString TextUpToNul(const QByteArray &bytes)
{
    return QString::fromUtf8(bytes.constData());
}

QStringList ManifestLines(const QByteArray &bytes)
{
    return ExtractLinesFromText(TextUpToNul(bytes), "\r\n", false);
}

bool ReadFileList(QByteArray bytes, QStringList &lines)
{
    if (!bytes.contains(kMarker))
        return false;
    lines = ManifestLines(bytes.replace(kMarker, ""));
    return true;
}

bool ReadPackageList(const QByteArray &bytes, QStringList &lines)
{
    if (bytes.indexOf('#') > 2)
        return false;
    lines = ManifestLines(bytes);
    return true;
}

std::unique_ptr<DN_FILE_STRUCT> RecordFromLine(const QString &line)
{
    const QStringList fields = ExtractLinesFromText(line, "#", false);
    if (fields.size() < 6 || !IsPlatformSupported(fields[0].toInt()))
        return nullptr;
    auto record = std::make_unique<DN_FILE_STRUCT>();
    record->file_name = fields[1];
    record->remote_dir = fields[2];
    record->time_stamp = fields[3];
    record->file_size = fields[4].toLongLong();
    record->checksum = fields[5].toLongLong();
    return record;
}

bool ReadPackageLine(const QString &line, PackageLine &package)
{
    const QStringList fields = ExtractLinesFromText(line, "#", true);
    if (fields.size() != 7 || !IsPlatformSupported(fields[0].toInt()))
        return false;
    package.class_index = fields[1].toInt();
    package.title = fields[2];
    package.stems = fields.mid(4, 2);
    package.page = fields[6];
    return true;
}

QString ArchiveStem(QString file_name)
{
    for (const char *extension : {".zip", ".tar.xz", ".tar.gz", ".tar.bz2", ".tar.7z"})
        file_name.remove(QLatin1String(extension));
    return file_name;
}

void SetInstallTarget(DN_FILE_STRUCT &record, const QString &installed_path)
{
    const QString &name = record.file_name;
    record.install_root = installed_path;
    record.install_dir = ExtractFileNameWithoutExtension(name, true);
    if (!name.contains("zeft_bsp"))
        return;
    record.install_dir = name.left(name.indexOf('.')).remove("zeft_bsp_");
    if (name.contains(".htc"))
        record.install_root += "/hardware/tools";
    else if (name.contains(".hlib"))
        record.install_root += "/hardware";
}

bool IsInstallable(const QString &file_name)
{
    // All but the first would share a path in the downloads directory with something else.
    if (HasUnsafeCharacter(file_name) || file_name.endsWith(".dnl")
        || file_name == kDocumentsArchive || file_name == kDocumentsFolder)
        return false;
    DN_FILE_STRUCT record;
    record.file_name = file_name;
    SetInstallTarget(record, QString());
    const QString &name = record.install_dir;
    const QString dir = ComponentDir(record);
    return !name.isEmpty() && name != "." && name != ".."
           && std::none_of(std::begin(kTakenDirs), std::end(kTakenDirs),
                           [&dir](const char *taken) { return dir == taken; });
}
