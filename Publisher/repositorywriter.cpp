#include "repositorywriter.h"

#include "Repository/names.h"
#include "common/common_helper.h"
#include "repositorysource.h"
#include "sourcefolder.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

#include <archive.h>
#include <archive_entry.h>

#include <memory>

namespace {
const qint64 kBlockSize = 1 << 20;

QString Failure(const QString &path, const QString &reason)
{
    return QString("%1: %2").arg(path, reason);
}

bool OpenForWriting(QSaveFile &file)
{
    QDir().mkpath(QFileInfo(file.fileName()).path()); // if that fails, open() says why
    return file.open(QIODevice::WriteOnly);
}

QString WriteText(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    if (OpenForWriting(file) && file.write(bytes) == bytes.size() && file.commit())
        return {};
    return Failure(path, file.errorString());
}

/// Copies the archive to \a path under the date that the server is to tell of it.
QString CopyArchive(const Component &component, const QString &path)
{
    QFile from(component.path);
    if (!from.open(QIODevice::ReadOnly))
        return Failure(component.path, from.errorString());
    QSaveFile to(path);
    if (!OpenForWriting(to))
        return Failure(path, to.errorString());
    while (!from.atEnd()) {
        const QByteArray block = from.read(kBlockSize);
        if (block.isEmpty())
            return Failure(component.path, from.errorString());
        to.write(block); // an error here makes commit() fail
    }
    to.flush(); // or a later write would change the date again
    if (!to.setFileTime(component.modified, QFileDevice::FileModificationTime) || !to.commit())
        return Failure(path, to.errorString());
    return {};
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
    archive_entry_set_pathname(entry.get(), "hwd_doc/");
    archive_entry_set_filetype(entry.get(), AE_IFDIR);
    archive_entry_set_perm(entry.get(), 0755);
    return archive_write_header(writer, entry.get()) == ARCHIVE_OK;
}

/// Adds a page, or a picture of one, by its \a name in the folder of pages.
bool AddPage(archive *writer, const QString &name, const QDateTime &modified,
             const QByteArray &bytes)
{
    const std::unique_ptr<archive_entry, EntryDeleter> entry(archive_entry_new());
    archive_entry_set_pathname(entry.get(), ("hwd_doc/" + name).toUtf8());
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), 0644);
    archive_entry_set_mtime(entry.get(), modified.toSecsSinceEpoch(), 0);
    archive_entry_set_size(entry.get(), bytes.size());
    return archive_write_header(writer, entry.get()) == ARCHIVE_OK
           && archive_write_data(writer, bytes.constData(), static_cast<size_t>(bytes.size()))
                  == bytes.size();
}

QString PackPages(const RepositorySource &source, const QString &path)
{
    QSaveFile file(path);
    if (!OpenForWriting(file))
        return Failure(path, file.errorString());
    const std::unique_ptr<archive, WriterDeleter> writer(archive_write_new());
    archive_write_set_format_zip(writer.get());
    if (archive_write_open_fd(writer.get(), file.handle()) != ARCHIVE_OK)
        return Failure(path, archive_error_string(writer.get()));
    if (!AddPagesFolder(writer.get()))
        return Failure(path, archive_error_string(writer.get()));
    for (const QString &name : source.pages) {
        const QString page = source.pagesDir + '/' + name;
        QByteArray bytes;
        QString failure = ReadSourceFile(page, bytes);
        if (!failure.isEmpty())
            return failure;
        if (!AddPage(writer.get(), name, QFileInfo(page).lastModified(), bytes))
            return Failure(page, "cannot be packed");
    }
    if (archive_write_close(writer.get()) != ARCHIVE_OK)
        return Failure(path, archive_error_string(writer.get()));
    return file.commit() ? QString() : Failure(path, file.errorString());
}

/// Appends the line of \a component to \a list, with size and sum of the published file at \a path.
QString AddFileListLine(const Component &component, const QString &path, QByteArray &list)
{
    const qint64 sum = GetFileDataChecksum(path, 0);
    if (sum < 0)
        return Failure(path, "cannot be read");
    const QStringList fields = {
        QString::number(component.platform),
        component.fileName,
        component.remoteDir,
        component.modified.toString(Qt::ISODateWithMs), // as the updater writes Last-Modified
        QString::number(GetFileSizeInBytes(path)),
        QString::number(sum)};
    list += fields.join('#').toUtf8() + "\r\n";
    return {};
}

QByteArray PackageList(const QList<Package> &packages)
{
    QByteArray lines;
    for (const Package &package : packages) {
        const QStringList fields = {QString::number(package.platform),
                                    QString::number(package.classIndex),
                                    package.title,
                                    QString(), // unused
                                    ArchiveStem(package.archives.value(0)),
                                    ArchiveStem(package.archives.value(1)),
                                    package.page};
        lines += fields.join('#').toUtf8() + "\r\n";
    }
    return lines;
}
} // namespace

QStringList WriteRepository(const RepositorySource &source, const QString &destDir)
{
    const QDir base(QDir(destDir).filePath("zeft"));
    QByteArray fileList = "//zeft_upt_fversions.info\r\n";
    QString failure;
    for (const Component &component : source.components) {
        const QString path = base.filePath(component.Name());
        failure = CopyArchive(component, path);
        if (failure.isEmpty())
            failure = AddFileListLine(component, path, fileList);
        if (!failure.isEmpty())
            return {failure};
    }

    failure = PackPages(source, base.filePath("bsp/hwd_doc.zip"));
    if (failure.isEmpty())
        failure = WriteText(base.filePath("bsp/zeft_bsps.info"), PackageList(source.packages));
    if (failure.isEmpty())
        failure = WriteText(base.filePath("zeft_upt_fversions.info"), fileList);
    return failure.isEmpty() ? QStringList() : QStringList(failure);
}
