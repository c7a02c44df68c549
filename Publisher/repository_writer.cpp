#include "repository_writer.h"

#include "Repository/checksum.h"
#include "Repository/manifests.h"
#include "Repository/names.h"
#include "repository_source.h"
#include "site_file.h"
#include "source_folder.h"

#include <QDir>
#include <QFileInfo>

#include <archive.h>
#include <archive_entry.h>

#include <memory>

namespace {
const qint64 kBlockSize = 1 << 20;

QString WriteText(const QString &path, const QByteArray &bytes)
{
    SiteFile file(path);
    return file.Open() && file.Write(bytes) && file.Commit() ? QString() : file.Failure();
}

/// What the file list tells of a published archive.
struct Contents
{
    qint64 size = 0;
    qint64 sum = 0;
};

/// Copies the archive to \a path under the date that the server is to tell of it.
QString CopyArchive(const Component &component, const QString &path, Contents &contents)
{
    QFile from(component.path);
    SiteFile to(path);
    if (!to.Open())
        return to.Failure();
    if (from.open(QIODevice::ReadOnly)) {
        for (QByteArray block; !(block = from.read(kBlockSize)).isEmpty();) {
            if (!to.Write(block))
                return to.Failure();
            const auto *bytes = reinterpret_cast<const unsigned char *>(block.constData());
            contents.size += block.size();
            contents.sum += SumOfBytes(bytes, bytes + block.size());
        }
    }
    if (from.error() != QFileDevice::NoError)
        return QString("%1: %2").arg(component.path, from.errorString());
    const bool dated = to.setFileTime(component.modified, QFileDevice::FileModificationTime);
    return dated && to.Commit() ? QString() : to.Failure();
}

struct WriterDeleter
{
    void operator()(archive *writer) const { archive_write_free(writer); }
};
struct EntryDeleter
{
    void operator()(archive_entry *entry) const { archive_entry_free(entry); }
};

/// A folder without pages would be no archive.
bool AddPagesFolder(archive *writer)
{
    const std::unique_ptr<archive_entry, EntryDeleter> entry(archive_entry_new());
    archive_entry_set_pathname(entry.get(), (QByteArray(kDescriptionsFolder) + '/').constData());
    archive_entry_set_filetype(entry.get(), AE_IFDIR);
    archive_entry_set_perm(entry.get(), 0755);
    return archive_write_header(writer, entry.get()) == ARCHIVE_OK;
}

/// Adds a page, or a picture of one, by its \a name in the folder of pages.
bool AddPage(archive *writer, const QString &name, const QDateTime &modified,
             const QByteArray &bytes)
{
    const std::unique_ptr<archive_entry, EntryDeleter> entry(archive_entry_new());
    archive_entry_set_pathname(entry.get(), (kDescriptionsFolder + ('/' + name)).toUtf8());
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), 0644);
    archive_entry_set_mtime(entry.get(), modified.toSecsSinceEpoch(), 0);
    archive_entry_set_size(entry.get(), bytes.size());
    return archive_write_header(writer, entry.get()) == ARCHIVE_OK
           && archive_write_data(writer, bytes.constData(), static_cast<size_t>(bytes.size()))
                  == bytes.size();
}

/// What ended the work of \a writer on the file at \a path.
QString PackFailure(const QString &path, archive *writer)
{
    return QString("%1: %2").arg(path, qt_error_string(archive_errno(writer)));
}

QString PackPages(const RepositorySource &source, const QString &path)
{
    SiteFile file(path);
    if (!file.Open())
        return file.Failure();
    const std::unique_ptr<archive, WriterDeleter> writer(archive_write_new());
    archive_write_set_format_zip(writer.get());
    if (archive_write_open_fd(writer.get(), file.handle()) != ARCHIVE_OK
        || !AddPagesFolder(writer.get()))
        return PackFailure(path, writer.get());
    for (const QString &name : source.pages) {
        const QString page = source.pages_dir + '/' + name;
        QByteArray bytes;
        QString failure = ReadSourceFile(page, bytes);
        if (!failure.isEmpty())
            return failure;
        if (!AddPage(writer.get(), name, QFileInfo(page).lastModified(), bytes))
            return PackFailure(path, writer.get());
    }
    if (archive_write_close(writer.get()) != ARCHIVE_OK)
        return PackFailure(path, writer.get());
    return file.Commit() ? QString() : file.Failure();
}

FileLine LineOf(const Component &component, const Contents &contents)
{
    const QString stamp =
        component.modified.toString(Qt::ISODateWithMs); // as Qt reads HTTP's dates
    return {component.platform, component.file_name, component.remote_dir, stamp,
            contents.size,      contents.sum};
}

PackageLine LineOf(const Package &package)
{
    return {package.platform,
            package.class_index,
            package.title,
            QString(),
            ArchiveStem(package.archives.value(0)),
            ArchiveStem(package.archives.value(1)),
            package.page};
}
} // namespace

QStringList WriteRepository(const RepositorySource &source, const QString &dest_dir)
{
    const QString root = QDir(dest_dir).path(); // "." for an empty text
    QList<FileLine> files;
    QString failure;
    for (const Component &component : source.components) {
        Contents contents;
        const QString path = ComponentFilePath(component.remote_dir, component.file_name);
        failure = CopyArchive(component, root + path, contents);
        if (!failure.isEmpty())
            return {failure};
        files.append(LineOf(component, contents));
    }
    QList<PackageLine> packages;
    for (const Package &package : source.packages)
        packages.append(LineOf(package));

    failure = PackPages(source, root + DescriptionsPath());
    if (failure.isEmpty())
        failure = WriteText(root + PackageListPath(), WritePackageList(packages));
    if (failure.isEmpty())
        failure = WriteText(root + FileListPath(), WriteFileList(files));
    return failure.isEmpty() ? QStringList() : QStringList(failure);
}
