#pragma once

#include <QString>

/// Why the updater could not handle \a name as the name of a file or folder; empty if it can.
QString NameFault(const QString &name);

/// NameFault() of the first bad part of \a path, whose parts stand between "/"; empty if none is.
QString PathFault(const QString &path);
