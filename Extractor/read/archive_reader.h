#pragma once

#include "base/input_file.h"
#include "base/progress.h"
#include "read/prefetch.h"

#include <archive.h>
#include <archive_entry.h>
#include <cstdint>
#include <exception>
#include <memory>
#include <string_view>
#include <vector>

/// One pass through an archive with libarchive. Whatever libarchive is not wholly content with, a
/// mere warning included, is thrown as a Failure: a wrong checksum is one of its warnings.
class ArchiveReader
{
public:
    enum class Format {
        Zip,
        SevenZip,
        Cab,
        Tar,
        Filter // no archive but one stream, compressed once with one of libarchive's filters or not
    };

    /// \a file and \a progress must outlive the reader. Several readers may share both: each adds
    /// to the progress what it has read.
    ArchiveReader(const InputFile &file, Format format, Progress &progress);

    /// Reads the bytes of \a tar, which must outlive the reader, as a tar archive. No progress is
    /// told: that is up to the source of the bytes.
    explicit ArchiveReader(Prefetch &tar);

    ArchiveReader(const ArchiveReader &) = delete;
    ArchiveReader &operator=(const ArchiveReader &) = delete;

    /// The next entry, owned by the reader and good until the next call; null at the end.
    archive_entry *NextEntry();

    struct Block
    {
        std::string_view bytes; // good until the next call
        std::uint64_t offset;   // in the entry; between two blocks there may be a hole
    };

    /// The next data of the entry; false at its end, when \a block.offset is the entry's size.
    bool NextBlock(Block &block);

    /// Has NextBlock() bring \a block once more.
    void GiveBack(const Block &block);

    Format GetFormat() const { return m_format; }

private:
    struct Free
    {
        void operator()(archive *handle) const { archive_read_free(handle); }
    };

    int Open();
    void Check(int result);
    std::uint64_t Place() const;
    void Report();
    la_ssize_t Feed(const void **bytes);

    std::unique_ptr<archive, Free> m_archive;
    const Format m_format;
    const InputFile *m_file = nullptr; // null if the input is m_tar
    Prefetch *m_tar = nullptr;         // null if the input is m_file
    Progress *m_progress = nullptr;    // null if the input is m_tar
    bool m_tarEnded = false;           // the last bytes read of the tar were zeros, as at its end
    std::vector<char> m_buffer;
    std::uint64_t m_offset = 0; // in the file, of the next byte to read
    std::uint64_t m_place = 0;  // offset in the file up to which progress has been told
    std::size_t m_unused = 0;   // bytes read of the tar since its last entry or data of one
    std::exception_ptr m_inputFailure;
    Block m_givenBack = {};
};
