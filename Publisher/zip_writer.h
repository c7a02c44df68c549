#pragma once

#include "files.h"

#include <archive.h>

#include <memory>

/// A new zip, whose bytes depend on nothing but its content. All functions throw a Failure.
class ZipWriter
{
public:
    explicit ZipWriter(const QString &path);

    /// \a name ends with a "/".
    void AddFolder(const QString &name);
    void AddFile(const QString &name, const QByteArray &bytes);
    void Close();

private:
    struct Deleter
    {
        void operator()(archive *writer) const { archive_write_free(writer); }
    };
    void Add(const QString &name, unsigned type, unsigned permissions, const QByteArray &bytes);
    void Check(bool went_well);

    QString m_path;
    OutputFile m_file;
    std::unique_ptr<archive, Deleter> m_writer;
};
