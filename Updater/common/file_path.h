#pragma once

#include <QString>

// Path text. Parts are separated by "/", nothing is normalised, and the disk isn't looked at.

/// \a path up to its last "/", without it. Empty for a bare name and for an entry of the root.
QString ExtractFilePath(const QString &path);
QString ExtractParentPath(const QString &path);

/// What follows the last "/"; \a path whole if it ends in "/".
QString ExtractFileName(const QString &path);
QString ExtractEndFolder(QString path);

/// The file name without its last suffix, so "a.tar.gz" gives "a.tar".
///
/// \a with_dir keeps the folder in front, unless that is the root, "." or "..".
QString ExtractFileNameWithoutExtension(const QString &path, bool with_dir);

/// What follows the last "." of the file name, without the dot.
QString ExtractFileExtension(const QString &path);

// On the disk.

/// True for folders too.
bool IsFilePresent(const QString &path);

/// Tells whether \a dir has an entry \a name; an empty \a dir is the working folder.
bool IsFolderPresent(const QString &dir, const QString &name);

/// Splits \a path by ExtractParentPath(), so an entry of the root is sought in the working folder.
bool IsFolderPresent(const QString &path);

/// Makes one level; false also if it exists already.
bool MakeDir(const QString &dir, const QString &name);

/// Makes all levels; true also if they exist already.
bool MakePath(const QString &dir, const QString &name);

bool DeleteFile(const QString &path);

/// Removes the folder with all it holds; true if all went, or if there is no such folder.
///
/// An empty path is refused with false: Qt would take it for the working folder.
bool DeleteDirectory(const QString &path);

/// Leaves \a path as an empty folder, made if need be. False, and nothing is made, if something in
/// it can't be deleted.
bool DeleteDirectoryContents(const QString &path);

/// 0 if \a path doesn't exist.
qint64 GetFileSizeInBytes(const QString &path);

/// When \a path was last modified, in ISO 8601 form; empty if it doesn't exist.
///
/// (false, true, false) gives the true moment in UTC, "2024-05-01T12:30:45.123Z". A false
/// \a local_time labels the local clock's digits as UTC without converting them; a true
/// \a keep_time_spec leaves the time as labelled, where otherwise it is converted to UTC.
QString GetFileModifiedDateTime(const QString &path, bool no_milliseconds, bool local_time,
                                bool keep_time_spec);

/// Renames the file or folder within its folder, replacing nothing. \a path must be absolute.
///
/// Gives the new path; empty if the renaming failed.
QString RenameFileFolderHelper(const QString &path, QString new_name);
