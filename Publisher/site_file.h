#pragma once

#include <QSaveFile>

#include <system_error>

/// A file of the repository, which takes its place whole or not at all.
///
/// Open(), Write() and Commit() are false if they fail; Failure() then tells why.
class SiteFile : public QSaveFile
{
public:
    using QSaveFile::QSaveFile;

    /// Makes the file's folder, too.
    bool Open();
    bool Write(const QByteArray &bytes);
    /// Puts the file in its place, once the disk has all of it.
    bool Commit();

    /// Path and reason of what failed last.
    QString Failure() const;

private:
    bool Fail(const std::error_code &error);
};
