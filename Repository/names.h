#pragma once

#include "Repository/fixed_names.h"

#include <QString>
#include <QStringList>

// What a repository's files are called, and what the name of a component's file means, see
// docs/formats.md.

extern const char kFileList[];
extern const char kPackageList[];

// A directory whose path contains one of these has its files on the page of the core, or the
// blocks.
extern const char kCoreDirectory[];
extern const char kBlocksDirectory[];

// Where they lie below the repository's base URL, with a "/" in front.
QString FileListPath();
QString PackageListPath();
QString DescriptionsPath();
QString ComponentFilePath(const QString &remote_dir, const QString &file_name);

/// How the updater names itself to a server, and the publisher where it asks in the updater's
/// place.
QString UserAgent();

/// The endings of archives that a repository offers, each with its dot.
const QStringList &ArchiveSuffixes();

/// \a file_name without the archive suffixes, wherever they stand in it.
QString ArchiveStem(QString file_name);

/// True if \a file_name is a stem and one archive suffix.
bool IsArchiveName(const QString &file_name);

/// Why \a name can't stand as the name of a file or folder in a list and a URL; empty if it can.
QString NameFault(const QString &name);

/// NameFault() of the first bad part of \a path, whose parts stand between "/"; empty if none is.
QString PathFault(const QString &path);

/// Where a component is installed.
struct InstallTarget
{
    QString parent; // below the installation: "", "/hardware" or "/hardware/tools"
    QString dir;    // name of the component's directory
    QString Path() const { return parent + '/' + dir; }
};

/// The install target of a component by the name of its file, which may be any text.
InstallTarget InstallTargetOf(const QString &file_name);

/// True if \a file_name is a plain file name that gives a component directory of its own. The
/// directory is deleted with all it holds before each installation, so a name that leaves it empty,
/// leads out of it, gives one of the updater's own directories or one that holds other components
/// must not be installed.
bool IsInstallable(const QString &file_name);
