#include "componentarchive.h"

#include "delete_folder.h"
#include "unpack.h"

#include <QFile>
#include <QTemporaryDir>

#include <archive.h>
#include <archive_entry.h>

#include <memory>
#include <vector>

namespace {
const size_t kBlockSize = 65536;

struct ReaderDeleter
{
    void operator()(archive *reader) const { archive_read_free(reader); }
};
using Reader = std::unique_ptr<archive, ReaderDeleter>;

QString ErrorOf(archive *reader)
{
    const char *text = archive_error_string(reader);
    return text ? QString::fromUtf8(text) : QString("not an archive");
}

/// An entry of another archive, to be read as an archive itself.
struct NestedEntry
{
    archive *outer;
    std::vector<char> block = std::vector<char>(kBlockSize);
};

la_ssize_t ReadNested(archive *inner, void *data, const void **block)
{
    auto *entry = static_cast<NestedEntry *>(data);
    const la_ssize_t got = archive_read_data(entry->outer, entry->block.data(), kBlockSize);
    if (got < 0)
        archive_set_error(inner, archive_errno(entry->outer), "%s",
                          archive_error_string(entry->outer));
    *block = entry->block.data();
    return got;
}

/// Reads the entry's data to its end, its first block into \a head if that is set; false if the
/// data is damaged.
bool ReadData(archive *reader, QByteArray *head)
{
    std::vector<char> block(kBlockSize);
    la_ssize_t got = archive_read_data(reader, block.data(), kBlockSize);
    if (head && got >= 0)
        *head = QByteArray(block.data(), static_cast<int>(got));
    while (got > 0)
        got = archive_read_data(reader, block.data(), kBlockSize);
    return got == 0;
}

/// Walks from the entry that \a result already stands for to the last one.
void ReadEntries(archive *reader, archive_entry *entry, int result, const QString &componentDir,
                 ArchiveContents &contents)
{
    const QString versionPath = componentDir + "/version.info";
    for (; result == ARCHIVE_OK; result = archive_read_next_header(reader, &entry)) {
        QString name = QString::fromUtf8(archive_entry_pathname(entry));
        while (name.startsWith("./"))
            name.remove(0, 2);
        if (name != componentDir && !name.startsWith(componentDir + '/'))
            contents.strays << name;
        if (!ReadData(reader, name == versionPath ? &contents.versionInfo : nullptr))
            break;
    }
    if (result != ARCHIVE_EOF)
        contents.error = ErrorOf(reader);
}

/// The tar that a .tar.7z holds as its only entry, at which \a outer stands.
void ReadNestedTar(archive *outer, const QString &componentDir, ArchiveContents &contents)
{
    NestedEntry tar{outer};
    const Reader reader(archive_read_new());
    archive_read_support_format_tar(reader.get());
    archive_entry *entry = nullptr;
    int result = archive_read_open(reader.get(), &tar, nullptr, ReadNested, nullptr);
    if (result == ARCHIVE_OK)
        result = archive_read_next_header(reader.get(), &entry);
    ReadEntries(reader.get(), entry, result, componentDir, contents);
}
} // namespace

QString UnpackingFault(const QString &path)
{
    QTemporaryDir place;
    place.setAutoRemove(false); // it can't where the archive holds read-only folders
    const std::string destination = QFile::encodeName(place.path()).toStdString();
    Progress silence(-1);
    QString fault;
    try {
        Unpack(QFile::encodeName(path).toStdString(), destination, silence);
    } catch (const std::exception &failure) {
        fault = QString::fromLocal8Bit(failure.what());
    }
    DeleteFolder(destination, silence);
    return fault;
}

ArchiveContents ReadComponentArchive(const QString &path, const QString &componentDir)
{
    ArchiveContents contents;
    const Reader reader(archive_read_new());
    archive_read_support_filter_all(reader.get());
    archive_read_support_format_zip(reader.get());
    archive_read_support_format_tar(reader.get());
    archive_read_support_format_7zip(reader.get());

    archive_entry *entry = nullptr;
    int result = archive_read_open_filename(reader.get(), QFile::encodeName(path), kBlockSize);
    if (result == ARCHIVE_OK)
        result = archive_read_next_header(reader.get(), &entry);
    if (result == ARCHIVE_OK && archive_format(reader.get()) == ARCHIVE_FORMAT_7ZIP)
        ReadNestedTar(reader.get(), componentDir, contents);
    else
        ReadEntries(reader.get(), entry, result, componentDir, contents);
    return contents;
}
