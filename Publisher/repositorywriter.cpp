#include "repositorywriter.h"

#include "Repository/names.h"
#include "common/common_helper.h"
#include "repositorysource.h"
#include "sitefile.h"
#include "sourcefolder.h"

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
        const QString page = source.pagesDir + '/' + name;
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

/// The line of the file list for \a component.
QByteArray FileListLine(const Component &component, const Contents &contents)
{
    const QStringList fields = {
        QString::number(component.platform),
        component.fileName,
        component.remoteDir,
        component.modified.toString(Qt::ISODateWithMs), // as the updater writes Last-Modified
        QString::number(contents.size),
        QString::number(contents.sum)};
    return fields.join('#').toUtf8() + "\r\n";
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
        Contents contents;
        failure = CopyArchive(component, base.filePath(component.Name()), contents);
        if (!failure.isEmpty())
            return {failure};
        fileList += FileListLine(component, contents);
    }

    failure = PackPages(source, base.filePath("bsp/hwd_doc.zip"));
    if (failure.isEmpty())
        failure = WriteText(base.filePath("bsp/zeft_bsps.info"), PackageList(source.packages));
    if (failure.isEmpty())
        failure = WriteText(base.filePath("zeft_upt_fversions.info"), fileList);
    return failure.isEmpty() ? QStringList() : QStringList(failure);
}
