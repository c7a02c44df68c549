#pragma once

#include "base/unique_fd.h"

#include <QByteArray>
#include <QDateTime>
#include <QStringList>
#include <QTemporaryDir>

#include <string>

// What changes the disk, and looks at it. All of it throws a Failure that names the path and the
// reason.

/// Throws the Failure of this \a text.
[[noreturn]] void Fail(const QString &text);

/// Throws the failure of a system call on \a path, which errno tells, unless it \a went_well.
void CheckCall(bool went_well, const QString &path);

/// The bytes by which the system knows \a path.
std::string Encoded(const QString &path);

/// A new file, and the folders that lead to it.
class OutputFile
{
public:
    explicit OutputFile(const QString &path);

    int Handle() const { return m_file.Get(); }
    void Write(const QByteArray &bytes);
    /// Some file systems tell only now that they are full.
    void Close();

private:
    QString m_path;
    UniqueFd m_file;
};

void WriteFile(const QString &path, const QByteArray &bytes);

/// Sets the modification time of the file at \a path.
void SetDate(const QString &path, const QDateTime &date);

/// Makes \a to a second name of the file at \a from, or a copy with the same date where the file
/// system has no hard links.
void LinkOrCopy(const QString &from, const QString &to);

/// Reads the whole file at \a path into \a bytes. Empty, or why that failed.
QString ReadFile(const QString &path, QByteArray &bytes);

/// True for two names of one file.
bool IsSameFile(const QString &a, const QString &b);

void MakeFolder(const QString &path);
void Rename(const QString &from, const QString &to);
/// Exchanges two names of one file system at once. False, and nothing is done, where the file
/// system can't do it.
bool Exchange(const QString &a, const QString &b);
/// Removes the file or folder at \a path with all it holds; links in it are not followed.
void Remove(const QString &path);

/// A new folder for temporary files, removed with its owner.
class TemporaryFolder
{
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    QString Path() const { return m_dir.path(); }

private:
    QTemporaryDir m_dir; // it can't remove read-only folders itself
};

/// All files below the folder \a dir, by their paths in it.
QStringList FilesBelow(const QString &dir);

/// Waits until the disk has all that was written to the file system that holds \a path.
void Sync(const QString &path);
