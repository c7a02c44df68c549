#pragma once

#include <QStringList>

/// The root of the installation: the path behind the last "#" (or "-#") argument, else the
/// directory above \a program_dir. Absolute, clean and without a trailing "/": a relative argument
/// is taken from the working directory, and the file system's root is the empty text.
QString RootDirectory(const QStringList &arguments, const QString &program_dir);

/// Why nothing can be written into \a directory, in the system's words; empty if it can.
QString WriteFault(const QString &directory);
