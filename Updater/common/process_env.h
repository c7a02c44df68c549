#pragma once

#include <QString>

// Search paths for a child process. A list is one text whose entries are separated by ";" or ":";
// a normal list has ":" alone, also in front of its first and behind its last entry. The
// environments are QProcessEnvironment objects of the caller's.

/// The normal list of \a paths and of the library folders in, beside and above \a base_dir.
///
/// Whether the folders exist is not looked at. Without a \a base_dir none is added.
QString AddProcessEnvStdSearchPaths(QString paths, const QString &base_dir);

/// Puts AddProcessEnvStdSearchPaths() and what the variable held before, closed by a ":", into
/// PATH and LD_LIBRARY_PATH.
void AddProcessEnvVar(void *env, QString paths, const QString &base_dir);

/// Adds the normal list of \a paths to PATH, PYTHONPATH and LD_LIBRARY_PATH, in front of what they
/// hold if \a prepend, otherwise behind it. Empty \a paths change nothing.
void AddProcessPythonEnvVar(void *env, QString paths, bool prepend);
