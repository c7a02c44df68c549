#pragma once

#include <QByteArray>
#include <QStringList>

// The repository's two text manifests. The fields of a line are separated by "#", which nothing
// quotes or escapes; lines end in CR LF, and empty ones don't count.

/// The text of \a bytes up to the first NUL, read as UTF-8.
QString TextUpToNul(const QByteArray &bytes);

/// One line of zeft_upt_fversions.info: a file that can be installed.
struct FileLine
{
    int platform = 0;     // code, see platform.h
    QString file_name;    // may be any text
    QString remote_dir;   // below "/zeft/", without a "/" at either end
    QString time_stamp;   // of the file on the server, 2024-05-01T12:00:00.000Z
    qint64 file_size = 0; // bytes
    qint64 checksum = 0;  // sum of the bytes, each as a value from 0 to 255
};

/// One line of zeft_bsps.info: a board support package of the tree.
struct PackageLine
{
    int platform = 0;
    int class_index = -1; // place in ClassNames(); may be any number
    QString title;
    QString unused;     // nobody reads this column
    QString first_stem; // of the archives; either may be empty
    QString second_stem;
    QString description; // file name in the descriptions' folder; may be any text
};

/// The classes of processors, in the order by which a package line counts them.
const QStringList &ClassNames();

/// Checks zeft_upt_fversions.info and gives its lines. False, and \a lines unchanged, without the
/// marker "//zeft_upt_fversions.info", which is looked for anywhere in the file.
bool ReadFileList(QByteArray bytes, QStringList &lines);
/// False for a line with too few fields; empty fields don't count. A text that is no number reads
/// as 0.
bool ReadFileLine(const QString &line, FileLine &file);
QByteArray WriteFileList(const QList<FileLine> &files);

/// Checks zeft_bsps.info and gives its lines. False, and \a lines unchanged, where the first "#"
/// lies too far behind for a platform code before it; a file without any "#" passes.
bool ReadPackageList(const QByteArray &bytes, QStringList &lines);
/// False for a line that has not exactly seven fields; empty fields count.
bool ReadPackageLine(const QString &line, PackageLine &package);
QByteArray WritePackageList(const QList<PackageLine> &packages);
