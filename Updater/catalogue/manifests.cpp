#include "catalogue/manifests.h"

#include "app/mainwindow_helper.h"
#include "common/common_helper.h"

namespace {

const char kMarker[] = "//zeft_upt_fversions.info\r\n";

/// Splits as Qt 5.12 and 5.15 both can without a warning.
QStringList Fields(const QString &line)
{
    QStringList fields = line.split('#');
    fields.removeAll(QString());
    return fields;
}

/// The updater's own directories, and those that hold the components of all packages.
bool IsTaken(const QString &dir)
{
    return dir == "/downloads" || dir == "/bin_lnx" || dir == "/hardware"
           || dir == "/hardware/tools";
}

} // namespace

QString TextUpToNul(const QByteArray &bytes)
{
    return QString::fromUtf8(bytes.constData());
}

QStringList ManifestLines(const QByteArray &bytes)
{
    QStringList lines = TextUpToNul(bytes).split("\r\n");
    lines.removeAll(QString());
    return lines;
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
    const QStringList fields = Fields(line);
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
    const QStringList fields = line.split('#');
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
    if (file_name.contains('/') || file_name.contains('\\') || file_name.contains(QChar(0)))
        return false;
    DN_FILE_STRUCT record;
    record.file_name = file_name;
    SetInstallTarget(record, QString());
    const QString &dir = record.install_dir;
    return !dir.isEmpty() && dir != "." && dir != ".." && !IsTaken(ComponentDir(record));
}
