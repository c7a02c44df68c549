#include "read/lzma2_blocks.h"

#include "read/byte_source.h"

#include <array>

namespace {

constexpr std::uint64_t kSmallestBlock = std::uint64_t{256} * 1024; // smaller ones are joined
constexpr std::uint64_t kLargestBlock = std::uint64_t{256} * 1024 * 1024;

// The first byte of a chunk is one of these, or 2; packed ones have a size's bits in it besides.
constexpr unsigned char kNewStored = 1; // "new": nothing before it is needed
constexpr unsigned char kStored = 2;
constexpr unsigned char kPacked = 0x80;
constexpr unsigned char kPackedWithProperties = 0xc0;
constexpr unsigned char kNewPacked = 0xe0;

bool BeginsBlock(unsigned char control)
{
    return control == kNewStored || control >= kNewPacked;
}

} // namespace

Lzma2Blocks::Lzma2Blocks(const InputFile &file, std::uint64_t begin, std::uint64_t end)
    : m_file(file)
    , m_at(begin)
    , m_end(end)
{
}

std::optional<Lzma2Block> Lzma2Blocks::At(std::size_t index)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    while (m_blocks.size() <= index && ChunkAt(m_at).control != kLzma2End) {
        m_blocks.push_back(FindBlock());
    }
    return index < m_blocks.size() ? std::optional(m_blocks[index]) : std::nullopt;
}

Lzma2Block Lzma2Blocks::FindBlock()
{
    Lzma2Block block{m_at, m_at, 0};
    Chunk next = ChunkAt(m_at);
    do {
        m_at += next.packed;
        block.size += next.size;
        if (block.size > kLargestBlock) {
            throw BadBlock();
        }
        next = ChunkAt(m_at);
    } while (next.control != kLzma2End
             && !(BeginsBlock(next.control) && block.size >= kSmallestBlock));
    block.end = m_at;
    return block;
}

Lzma2Blocks::Chunk Lzma2Blocks::ChunkAt(std::uint64_t offset) const
{
    std::array<unsigned char, 5> start = {}; // of a packed one; the end has only the first byte
    const std::size_t got = m_file.ReadAt(offset, start.data(), start.size());
    const auto number = [&start](std::size_t at) { // in two bytes, the higher first; less by 1
        return (std::size_t{start[at]} << 8U | start[at + 1]) + 1;
    };
    const unsigned char control = start[0];
    Chunk chunk{control, 1, 0};
    if (control >= kPacked) {
        chunk.size = number(1) + (std::size_t{control & 0x1fU} << 16U);
        chunk.packed = start.size() + number(3) + (control >= kPackedWithProperties ? 1 : 0);
    } else if (control != kLzma2End) {
        chunk.size = number(1);
        chunk.packed = 3 + chunk.size;
    }
    const bool isLast = control == kLzma2End;
    const bool isKnown = isLast || control <= kStored || control >= kPacked;
    const std::uint64_t end = offset + chunk.packed;
    if (got == 0 || !isKnown || (isLast ? end != m_end : end >= m_end)) {
        throw BadBlock();
    }
    return chunk;
}
