#include "read/archive_reader.h"

#include "base/failure.h"

#include <algorithm>
#include <cerrno>
#include <new>

namespace {

constexpr std::size_t kBufferSize = std::size_t{256} * 1024;

// Bytes of a tar that may follow one another without belonging to an entry.
constexpr std::size_t kMostUnused = std::size_t{256} * 1024 * 1024;

/// libarchive's filter for files that begin with the magic bytes.
struct FilterMagic
{
    std::string_view magic;
    int filter;
};

constexpr FilterMagic kFilters[] = {
    {"BZh", ARCHIVE_FILTER_BZIP2},
    {"LZIP", ARCHIVE_FILTER_LZIP},
    {"\x04\x22\x4d\x18", ARCHIVE_FILTER_LZ4},
    {"\x28\xb5\x2f\xfd", ARCHIVE_FILTER_ZSTD},
    // An .lzma file has no magic bytes, but compressors begin it with the same properties.
    {{"\x5d\0\0", 3}, ARCHIVE_FILTER_LZMA},
};

/// Chooses the one filter that the file's first bytes ask for. By itself libarchive undoes up to 25
/// layers of compression, and a file of less than 1 KB could keep it busy for days.
void AppendFilter(archive *handle, const InputFile &file)
{
    char start[4];
    const std::string_view bytes(start, file.ReadAt(0, start, sizeof start));
    for (const FilterMagic &known : kFilters)
        if (bytes.substr(0, known.magic.size()) == known.magic)
            archive_read_append_filter(handle, known.filter);
}

void Support(archive *handle, ArchiveReader::Format format)
{
    using Format = ArchiveReader::Format;
    switch (format) {
    case Format::Zip:
        // libarchive's streaming reader ignores the central directory. So it knows no permissions,
        // and doesn't notice that an archive is cut off.
        archive_read_support_format_zip_seekable(handle);
        break;
    case Format::SevenZip:
        archive_read_support_format_7zip(handle);
        break;
    case Format::Cab:
        archive_read_support_format_cab(handle);
        break;
    case Format::Tar:
        archive_read_support_format_tar(handle);
        // Read on to the stream's true end: only there its last checksums are tested.
        archive_read_set_format_option(handle, "tar", "read_concatenated_archives", "1");
        break;
    case Format::Filter:
        archive_read_support_format_raw(handle);
        break;
    }
}

archive *NewReader(ArchiveReader::Format format)
{
    archive *const handle = archive_read_new();
    if (!handle)
        throw std::bad_alloc();
    Support(handle, format);
    return handle;
}

bool EndsInZeros(std::string_view bytes)
{
    constexpr std::size_t kRecordSize = 512;
    const std::string_view last = bytes.substr(bytes.size() - std::min(bytes.size(), kRecordSize));
    return std::all_of(last.begin(), last.end(), [](char byte) { return byte == 0; });
}

} // namespace

ArchiveReader::ArchiveReader(const InputFile &file, Format format, Progress &progress)
    : m_archive(NewReader(format))
    , m_format(format)
    , m_file(&file)
    , m_progress(&progress)
    , m_buffer(kBufferSize)
{
    archive *const handle = m_archive.get();
    if (format == Format::Filter)
        AppendFilter(handle, file);
    archive_read_set_skip_callback(handle, [](archive *, void *self, la_int64_t bytes) {
        auto *const reader = static_cast<ArchiveReader *>(self);
        reader->m_offset += static_cast<std::uint64_t>(bytes);
        return bytes;
    });
    archive_read_set_seek_callback(
        handle, [](archive *, void *self, la_int64_t offset, int whence) -> la_int64_t {
            auto *const reader = static_cast<ArchiveReader *>(self);
            const std::uint64_t base = whence == SEEK_SET   ? 0
                                       : whence == SEEK_CUR ? reader->m_offset
                                                            : reader->m_file->Size();
            const std::uint64_t wanted = base + static_cast<std::uint64_t>(offset);
            if (wanted > reader->m_file->Size())
                return ARCHIVE_FATAL;
            reader->m_offset = wanted;
            return static_cast<la_int64_t>(wanted);
        });
    Check(Open());
}

ArchiveReader::ArchiveReader(Prefetch &tar)
    : m_archive(NewReader(Format::Tar))
    , m_format(Format::Tar)
    , m_tar(&tar)
{
    if (Open() != ARCHIVE_OK && !m_inputFailure)
        throw Failure("is no archive of a known kind");
    Check(ARCHIVE_OK);
}

archive_entry *ArchiveReader::NextEntry()
{
    m_givenBack = {};
    m_unused = 0;
    archive_entry *entry = nullptr;
    const int result = archive_read_next_header(m_archive.get(), &entry);
    Check(result == ARCHIVE_EOF ? ARCHIVE_OK : result);
    if (result == ARCHIVE_EOF) {
        if (m_tar && !m_tarEnded)
            throw Failure("is cut off: the mark at its end is missing");
        return nullptr;
    }
    m_place = Place(); // the entries before it may have been another reader's work
    return entry;
}

bool ArchiveReader::NextBlock(Block &block)
{
    if (!m_givenBack.bytes.empty()) {
        block = std::exchange(m_givenBack, {});
        return true;
    }
    m_unused = 0;
    const void *bytes = nullptr;
    std::size_t size = 0;
    la_int64_t offset = 0;
    const int result = archive_read_data_block(m_archive.get(), &bytes, &size, &offset);
    block = {{static_cast<const char *>(bytes), size}, static_cast<std::uint64_t>(offset)};
    Check(result == ARCHIVE_EOF ? ARCHIVE_OK : result);
    Report();
    return result != ARCHIVE_EOF;
}

void ArchiveReader::GiveBack(const Block &block)
{
    m_givenBack = block;
}

int ArchiveReader::Open()
{
    archive *const handle = m_archive.get();
    archive_read_set_callback_data(handle, this);
    archive_read_set_read_callback(handle, [](archive *, void *self, const void **bytes) {
        return static_cast<ArchiveReader *>(self)->Feed(bytes);
    });
    return archive_read_open1(handle);
}

void ArchiveReader::Check(int result)
{
    if (m_inputFailure)
        std::rethrow_exception(m_inputFailure);
    if (result != ARCHIVE_OK) {
        if (archive_errno(m_archive.get()) == ENOMEM)
            throw std::bad_alloc();
        const char *const text = archive_error_string(m_archive.get());
        throw Failure(std::string("is damaged: ") + (text ? text : "unknown error"));
    }
}

std::uint64_t ArchiveReader::Place() const
{
    return static_cast<std::uint64_t>(archive_filter_bytes(m_archive.get(), -1));
}

void ArchiveReader::Report()
{
    if (m_file) {
        const std::uint64_t place = Place();
        m_progress->Advance(place - std::min(m_place, place), m_file->Size());
        m_place = place;
    }
}

/// Called by libarchive, which knows no exceptions: they are kept for Check().
la_ssize_t ArchiveReader::Feed(const void **bytes)
{
    try {
        std::string_view block;
        if (m_tar) {
            block = m_tar->Next();
            m_unused += block.size();
            if (m_unused > kMostUnused)
                throw Failure("is damaged: too much stands between its files");
            m_tarEnded = block.empty() ? m_tarEnded : EndsInZeros(block);
        } else {
            block = {m_buffer.data(), m_file->ReadAt(m_offset, m_buffer.data(), m_buffer.size())};
            m_offset += block.size();
        }
        *bytes = block.data();
        return static_cast<la_ssize_t>(block.size());
    } catch (...) {
        m_inputFailure = std::current_exception();
        return ARCHIVE_FATAL;
    }
}
