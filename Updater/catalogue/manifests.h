#pragma once

#include <QByteArray>
#include <QStringList>

#include <memory>

struct DN_FILE_STRUCT;

// The repository's two text manifests: their text form, their checks, and what a line means.
// A line's fields are separated by "#", which nothing quotes or escapes.

/// The text of \a bytes up to the first NUL, read as UTF-8.
QString TextUpToNul(const QByteArray &bytes);

/// The lines of a manifest: they end in CR LF, and empty ones are dropped.
QStringList ManifestLines(const QByteArray &bytes);

/// Checks zeft_upt_fversions.info and gives its lines. False, and \a lines unchanged, without the
/// marker, which is looked for anywhere in the file.
bool ReadFileList(QByteArray bytes, QStringList &lines);

/// Checks zeft_bsps.info and gives its lines. False, and \a lines unchanged, where the first "#"
/// lies too far behind for a platform code before it; a file without any "#" passes.
bool ReadPackageList(const QByteArray &bytes, QStringList &lines);

/// Makes the record of a line of the file list; null for a line with too few fields or of another
/// platform. Install target and version are still empty. The file name may be any text.
std::unique_ptr<DN_FILE_STRUCT> RecordFromLine(const QString &line);

/// One line of the package list.
struct PackageLine
{
    int class_index = -1; // place among the classes of processors; may be any number
    QString title;
    QStringList stems; // two archive names without their extension; either may be empty
    QString page;      // file name of the description; may be any text
};

/// Reads a line of the package list. False for a line that has not exactly seven fields or is of
/// another platform.
bool ReadPackageLine(const QString &line, PackageLine &package);

/// A file name without the archive extensions that a repository uses, wherever they stand in it.
QString ArchiveStem(QString file_name);

/// Sets install_root and install_dir from the record's file_name.
void SetInstallTarget(DN_FILE_STRUCT &record, const QString &installed_path);

/// True if \a file_name is a plain file name that gives a component directory of its own. The
/// directory is deleted with all it holds before each installation, so a name that leaves it empty,
/// leads out of it, gives one of the updater's own directories or one that holds other components
/// must not become a record.
bool IsInstallable(const QString &file_name);
