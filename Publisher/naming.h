#pragma once

#include <QString>

/// Why the updater could not handle \a name as the name of a file or folder; empty if it can.
QString NameFault(const QString &name);

/// NameFault() of the first bad part of \a path, whose parts stand between "/"; empty if none is.
QString PathFault(const QString &path);

/// \a fileName without its archive suffix; empty if it ends in none that the updater installs.
QString ArchiveStem(const QString &fileName);

/// Where a component goes, relative to the installation's root and with no "/" at either end.
struct InstallTarget
{
    QString root; // empty: the installation's root itself
    QString dir;  // the folder that the archive must bring

    QString Path() const { return root.isEmpty() ? dir : root + '/' + dir; }
};

InstallTarget InstallTargetOf(const QString &fileName);
