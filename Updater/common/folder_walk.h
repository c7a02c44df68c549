#pragma once

#include <QStringList>

// Path text: the disk isn't looked at.

/// \a path without any occurrence of \a base, wherever it is, and without a "/" in front of the
/// rest: "/a/b/a/c" below "/a" is "b/c". Without an occurrence \a path comes back as it is.
QString GetRelativePath(const QString &base, QString path);

/// True if \a path begins with "/" or contains ":", as drives and URLs do; false for one character.
bool IsAbsolutePath(const QString &path);

/// Tells whether the text has a folder part, be it with "/" or with a backslash.
bool IsPathPresent(const QString &path);

// On the disk. Links and hidden entries are left out; lists are appended to and never cleared.

/// The first of \a dirs + "/" + \a path that exists, or of \a dirs alone if \a path is empty.
///
/// An absolute \a path comes back as it is, and so does one that is nowhere.
QString GetAbsolutePath(const QStringList &dirs, QString path);

/// Appends the folders in \a dir, by name ignoring case, and with \a recurse those below in front.
///
/// They are bare names, or with \a full_path begin with \a dir. \a sort sorts all of \a out,
/// minding case, and with it what stood in it before.
void GetDirectorySubDirNames(const QString &dir, QStringList &out, bool full_path, bool recurse,
                             bool sort);

/// The same for files, of which only those appear whose names match one of \a filters, which are
/// wildcards; an empty list lets all through.
void GetDirectoryFileNames(const QString &dir, const QStringList &filters, QStringList &out,
                           bool full_path, bool recurse, bool sort);
void GetDirectoryFileNames(const QString &dir, QStringList &out, bool full_path, bool recurse,
                           bool sort);

/// The folder of the first file in or below \a dir that has the extension of \a name and \a name
/// anywhere in its path; empty if there is none.
QString FindFilePath(const QString &dir, const QString &name);
