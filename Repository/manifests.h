#pragma once

#include <QByteArray>
#include <QStringList>

// The repository's two text manifests, see docs/formats.md.

/// The most bytes of a manifest that the updater takes, far above those of 100,000 files.
constexpr qint64 kMostManifestBytes = 64000000;

/// The text of \a bytes up to the first NUL, read as UTF-8.
QString TextUpToNul(const QByteArray &bytes);

/// One line of zeft_upt_fversions.info: a file that can be installed.
struct FileLine
{
    int platform = 0;     // code, see platform.h
    QString file_name;    // may be any text
    QString remote_dir;   // below "/zeft/", without a "/" at either end
    QString time_stamp;   // of the file on the server
    qint64 file_size = 0; // bytes
    qint64 checksum = 0;  // sum of the bytes
};

/// The version of a component: its line's \a time_stamp up to the first "T".
QString VersionFromTimeStamp(const QString &time_stamp);

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
/// marker that such a file begins with.
bool ReadFileList(QByteArray bytes, QStringList &lines);
/// False for a line with too few fields.
bool ReadFileLine(const QString &line, FileLine &file);
QByteArray WriteFileList(const QList<FileLine> &files);

/// Checks zeft_bsps.info and gives its lines. False, and \a lines unchanged, where the first "#"
/// lies too far behind for a platform code before it.
bool ReadPackageList(const QByteArray &bytes, QStringList &lines);
/// False for a line that has not exactly seven fields.
bool ReadPackageLine(const QString &line, PackageLine &package);
QByteArray WritePackageList(const QList<PackageLine> &packages);
