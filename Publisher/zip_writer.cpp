#include "zip_writer.h"

#include "base/failure.h"

#include <archive_entry.h>

ZipWriter::ZipWriter(const QString &path)
    : m_path(path)
    , m_file(path)
    , m_writer(archive_write_new())
{
    archive_write_set_format_zip(m_writer.get());
    Check(archive_write_open_fd(m_writer.get(), m_file.Handle()) == ARCHIVE_OK);
}

void ZipWriter::AddFolder(const QString &name)
{
    Add(name, AE_IFDIR, 0755, {});
}

void ZipWriter::AddFile(const QString &name, const QByteArray &bytes)
{
    Add(name, AE_IFREG, 0644, bytes);
}

void ZipWriter::Close()
{
    Check(archive_write_close(m_writer.get()) == ARCHIVE_OK);
    m_file.Close();
}

/// Without a date, which would change the archive and serve nobody.
void ZipWriter::Add(const QString &name, unsigned type, unsigned permissions,
                    const QByteArray &bytes)
{
    const std::unique_ptr<archive_entry, void (*)(archive_entry *)> entry(archive_entry_new(),
                                                                          archive_entry_free);
    archive_entry_set_pathname(entry.get(), name.toUtf8().constData());
    archive_entry_set_filetype(entry.get(), type);
    archive_entry_set_perm(entry.get(), static_cast<mode_t>(permissions));
    archive_entry_set_size(entry.get(), bytes.size());
    Check(
        archive_write_header(m_writer.get(), entry.get()) == ARCHIVE_OK
        && archive_write_data(m_writer.get(), bytes.constData(), static_cast<size_t>(bytes.size()))
               == bytes.size());
}

void ZipWriter::Check(bool went_well)
{
    if (!went_well)
        Fail(QString("%1: %2").arg(m_path, qt_error_string(archive_errno(m_writer.get()))));
}
