#include "unpack.h"

#include "Repository/fixed_names.h"
#include "base/failure.h"
#include "base/input_file.h"
#include "entry_writer.h"
#include "read/archive_reader.h"
#include "read/byte_source.h"
#include "read/bzip2_source.h"
#include "read/entry_source.h"
#include "read/fallback_source.h"
#include "read/gzip_source.h"
#include "read/seven_zip_source.h"
#include "read/xz_source.h"
#include "read/zip_directory.h"
#include "unpack_tar.h"
#include "unpack_zip.h"
#include "write/destination.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constexpr std::size_t kTarHeaderSize = 512;

bool StartsWith(const InputFile &file, std::string_view magic)
{
    char start[8];
    return file.ReadAt(0, start, magic.size()) == magic.size()
           && std::memcmp(start, magic.data(), magic.size()) == 0;
}

/// A tar header holds the sum of its bytes, where the field of the sum counts as blanks.
bool IsTarHeader(std::string_view bytes)
{
    constexpr std::size_t kSumAt = 148;
    constexpr std::size_t kSumSize = 8;
    if (bytes.size() < kTarHeaderSize)
        return false;
    unsigned long sum = 0;
    for (std::size_t i = 0; i < kTarHeaderSize; ++i) {
        const bool is_sum_field = i >= kSumAt && i < kSumAt + kSumSize;
        sum += is_sum_field ? ' ' : static_cast<unsigned char>(bytes[i]);
    }
    return sum == std::strtoul(std::string(bytes.substr(kSumAt, kSumSize)).c_str(), nullptr, 8);
}

/// Asked before whether the file is a zip: a tar whose last file is one ends like a zip.
bool IsTar(const InputFile &file)
{
    char start[kTarHeaderSize];
    return IsTarHeader({start, file.ReadAt(0, start, sizeof start)});
}

bool IsFolder(archive_entry *entry)
{
    return archive_entry_filetype(entry) == AE_IFDIR;
}

/// Reads the names in the archive only; nothing is decompressed.
bool HoldsOneFile(const InputFile &seven_zip, Progress &progress)
{
    ArchiveReader reader(seven_zip, ArchiveReader::Format::SevenZip, progress);
    int files = 0;
    while (archive_entry *const entry = reader.NextEntry()) {
        // 7z stores a file that it has read from a pipe as a pipe.
        files += IsFolder(entry) ? 0 : 1;
        if (files > 1)
            return false;
    }
    return files == 1;
}

/// Takes \a reader to the only file of its archive; false if that is no tar.
bool ReachTar(ArchiveReader &reader)
{
    archive_entry *entry = reader.NextEntry();
    while (entry && IsFolder(entry))
        entry = reader.NextEntry();
    ArchiveReader::Block block;
    if (!entry || !reader.NextBlock(block))
        return false;
    reader.GiveBack(block);
    return IsTarHeader(block.bytes);
}

void UnpackEntries(const InputFile &file, ArchiveReader::Format format, Destination &destination,
                   Progress &progress)
{
    ArchiveReader reader(file, format, progress);
    EntryWriter writer(destination);
    while (archive_entry *const entry = reader.NextEntry())
        writer.Write(reader, entry);
}

void UnpackSevenZip(const InputFile &file, Destination &destination, Progress &progress)
{
    ArchiveReader reader(file, ArchiveReader::Format::SevenZip, progress);
    if (!HoldsOneFile(file, progress) || !ReachTar(reader)) {
        UnpackEntries(file, ArchiveReader::Format::SevenZip, destination, progress);
        return;
    }
    EntrySource sure(reader);
    FallbackSource<SevenZipSource> tar(sure, file, progress);
    UnpackTar(tar, destination);
}

void UnpackBzip2Tar(const InputFile &file, Destination &destination, Progress &progress)
{
    FileSource compressed(file, progress);
    FilterSource sure(file, progress);
    FallbackSource<Bzip2Source> tar(sure, compressed);
    UnpackTar(tar, destination);
}

template <typename Decompressor>
void UnpackCompressedTar(const InputFile &file, Destination &destination, Progress &progress)
{
    FileSource compressed(file, progress);
    Decompressor tar(compressed);
    UnpackTar(tar, destination);
}

/// Unpacks a tar that is compressed in any way that libarchive knows, or not at all.
void UnpackOtherTar(const InputFile &file, Destination &destination, Progress &progress)
{
    FilterSource tar(file, progress);
    UnpackTar(tar, destination);
}

void UnpackAny(const InputFile &file, Destination &destination, Progress &progress)
{
    if (StartsWith(file, "7z\xbc\xaf\x27\x1c"))
        UnpackSevenZip(file, destination, progress);
    else if (StartsWith(file, "MSCF"))
        UnpackEntries(file, ArchiveReader::Format::Cab, destination, progress);
    else if (StartsWith(file, "\x1f\x8b"))
        UnpackCompressedTar<GzipSource>(file, destination, progress);
    else if (StartsWith(file, "\xfd"
                              "7zXZ"))
        UnpackCompressedTar<XzSource>(file, destination, progress);
    else if (StartsWith(file, "BZh"))
        UnpackBzip2Tar(file, destination, progress);
    else if (StartsWith(file, "PK\3\4") || (!IsTar(file) && ZipDirectory::IsIn(file)))
        UnpackZip(file, destination, progress);
    else
        UnpackOtherTar(file, destination, progress);
}

} // namespace

void Unpack(const std::string &archive_path, const std::string &destination_path, Purpose purpose,
            Progress &progress)
{
    // Unless TZ is set, the C library checks /etc/localtime anew for each time stamp of a zip.
    ::setenv("TZ", ":/etc/localtime", 0);

    const InputFile file(archive_path);
    // They are unpacked among the downloads, where any other file would pass for one.
    const bool is_descriptions =
        archive_path.substr(archive_path.rfind('/') + 1) == kDescriptionsArchive;
    Destination destination(destination_path, file.Size(),
                            is_descriptions ? kDescriptionsFolder : "");
    try {
        UnpackAny(file, destination, progress);
        destination.Complete(purpose == Purpose::Install);
    } catch (const std::bad_alloc &) {
        destination.Undo();
        throw Failure(archive_path + ": needs more memory than can be had");
    } catch (const std::exception &failure) {
        destination.Undo();
        throw Failure(archive_path + ": " + failure.what());
    }
    progress.Finish();
}
