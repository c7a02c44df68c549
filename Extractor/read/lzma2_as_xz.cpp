#include "read/lzma2_as_xz.h"

#include "base/failure.h"

#include <algorithm>
#include <array>
#include <lzma.h>

namespace {

// Smaller parts are joined to one block: to start a block takes time.
constexpr std::uint64_t kSmallestBlock = std::uint64_t{256} * 1024;

// The control byte of a chunk is one of these, the compressed ones with bits of a size in it.
constexpr unsigned char kEndOfStream = 0;
constexpr unsigned char kUncompressedDictionaryReset = 1;
constexpr unsigned char kUncompressed = 2;
constexpr unsigned char kCompressed = 0x80;
constexpr unsigned char kCompressedNewProperties = 0xc0;
constexpr unsigned char kCompressedDictionaryReset = 0xe0;

bool ResetsDictionary(unsigned char control)
{
    return control == kUncompressedDictionaryReset || control >= kCompressedDictionaryReset;
}

void Check(lzma_ret result)
{
    if (result != LZMA_OK)
        throw Failure("is damaged: LZMA2 data error");
}

} // namespace

Lzma2AsXz::Lzma2AsXz(const InputFile &file, std::uint64_t begin, std::uint64_t end,
                     std::uint32_t dictionary_size, Progress &progress)
    : m_file(file)
    , m_progress(progress)
    , m_begin(begin)
    , m_end(end)
    , m_dictionarySize(dictionary_size)
    , m_wrapping(LZMA_STREAM_HEADER_SIZE, '\0')
    , m_at(begin)
    , m_blockBegin(begin)
    , m_blockEnd(begin)
{
    lzma_stream_flags flags = {};
    flags.check = LZMA_CHECK_NONE;
    Check(lzma_stream_header_encode(&flags, reinterpret_cast<std::uint8_t *>(m_wrapping.data())));
    StartBlock();
}

std::size_t Lzma2AsXz::Read(char *to, std::size_t room)
{
    if (m_wrapping.empty() && m_at == m_blockEnd && m_at > m_blockBegin) {
        EndBlock();
        StartBlock();
    }
    if (!m_wrapping.empty()) {
        const std::size_t size = m_wrapping.copy(to, room);
        m_wrapping.erase(0, size);
        return size;
    }
    const std::size_t size =
        m_file.ReadAt(m_at, to, std::min<std::uint64_t>(room, m_blockEnd - m_at));
    m_at += size;
    m_progress.Reach(m_at, m_file.Size());
    return size;
}

/// A block ends as an LZMA2 stream does, and is filled up to a multiple of four bytes.
void Lzma2AsXz::EndBlock()
{
    m_wrapping += static_cast<char>(kEndOfStream);
    m_wrapping.append((m_blockBegin - m_blockEnd - 1) % 4, '\0');
}

void Lzma2AsXz::StartBlock()
{
    m_blockBegin = m_blockEnd;
    std::uint64_t uncompressed_size = 0;
    Chunk next = ChunkAt(m_blockEnd);
    while (next.control != kEndOfStream
           && (uncompressed_size < kSmallestBlock || !ResetsDictionary(next.control))) {
        m_blockEnd += next.size;
        uncompressed_size += next.uncompressed_size;
        next = ChunkAt(m_blockEnd);
    }
    if (m_blockBegin == m_blockEnd)
        return; // the end of the stream
    lzma_options_lzma options = {};
    options.dict_size =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(m_dictionarySize, uncompressed_size));
    lzma_filter filters[] = {{LZMA_FILTER_LZMA2, &options}, {LZMA_VLI_UNKNOWN, nullptr}};
    lzma_block block = {};
    block.check = LZMA_CHECK_NONE;
    // Without its sizes a block is not kept in memory whole, for which a single one has no need.
    const bool is_single = m_blockBegin == m_begin && next.control == kEndOfStream;
    block.compressed_size = is_single ? LZMA_VLI_UNKNOWN : m_blockEnd - m_blockBegin + 1;
    block.uncompressed_size = is_single ? LZMA_VLI_UNKNOWN : uncompressed_size;
    block.filters = filters;
    Check(lzma_block_header_size(&block));
    const std::size_t size = m_wrapping.size();
    m_wrapping.resize(size + block.header_size);
    Check(lzma_block_header_encode(&block,
                                   reinterpret_cast<std::uint8_t *>(m_wrapping.data() + size)));
}

Lzma2AsXz::Chunk Lzma2AsXz::ChunkAt(std::uint64_t offset) const
{
    std::array<unsigned char, 5> header = {}; // of a compressed chunk, without the properties
    const std::size_t got = m_file.ReadAt(offset, header.data(), header.size());
    const auto size = [&header](std::size_t at) { // big-endian, stored less 1
        return (std::size_t{header[at]} << 8U | header[at + 1]) + 1;
    };
    const unsigned char control = header[0];
    Chunk chunk{control, 1, 0};
    if (control >= kCompressed) {
        chunk.uncompressed_size = size(1) + (std::size_t{control & 0x1fU} << 16U);
        chunk.size = header.size() + size(3) + (control >= kCompressedNewProperties ? 1 : 0);
    } else if (control != kEndOfStream) {
        chunk.uncompressed_size = size(1);
        chunk.size = 3 + chunk.uncompressed_size;
    }
    const bool is_last = control == kEndOfStream;
    const bool is_known = control <= kUncompressed || control >= kCompressed;
    const std::uint64_t end = offset + chunk.size;
    if (got == 0 || !is_known || (is_last ? end != m_end : end >= m_end))
        throw Failure("is damaged: LZMA2 data error");
    return chunk;
}
