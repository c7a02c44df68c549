#include "read/bzip2_source.h"

#include "base/failure.h"
#include "base/worker_count.h"

#include <algorithm>
#include <array>
#include <lzma.h>

namespace {

constexpr std::uint64_t kBlockMark = 0x314159265359;
constexpr std::uint64_t kEndMark = 0x177245385090;
constexpr int kMarkSize = 48; // bits
constexpr int kBlockSumSize = 32;
constexpr int kHeaderSize = 32; // "BZh" and a digit

// A block holds about 900 kB, but 50 times as much where there are long runs of equal bytes.
constexpr std::size_t kStartSize = std::size_t{4} * 1024 * 1024;

constexpr std::size_t kRefillSize = std::size_t{256} * 1024;
constexpr std::size_t kLongestBlock =
    std::size_t{2} * 1024 * 1024; // bytes, compressed; bzip2 makes about 1 MB

/// For each value of a byte, where in a mark it can stand. A mark begins 0 to 7 bits into its first
/// byte: bit k is set if the byte fits a block mark that begins at bit k, and bit k + 8 if it fits
/// an end mark that does.
using Places = std::array<std::uint16_t, 256>;

/// The places for the byte that comes \a byte bytes behind the first byte of a mark.
Places FindPlaces(int byte)
{
    Places places = {};
    for (unsigned shift = 0; shift < 8; ++shift) {
        const auto at = static_cast<unsigned>(kMarkSize - 8 - 8 * byte) + shift;
        places[kBlockMark >> at & 0xffU] |= static_cast<std::uint16_t>(1U << shift);
        places[kEndMark >> at & 0xffU] |= static_cast<std::uint16_t>(0x100U << shift);
    }
    return places;
}

Failure Damaged()
{
    return Failure("is damaged: bzip2 data error");
}

std::uint64_t BigEndian(const char *bytes)
{
    std::uint64_t number = 0;
    for (int i = 0; i < 8; ++i)
        number = number << 8U | static_cast<unsigned char>(bytes[i]);
    return number;
}

/// Puts bits together to bytes.
class BitWriter
{
public:
    void Add(std::uint64_t bits, int count)
    {
        while (count-- > 0) {
            m_byte = m_byte << 1U | (bits >> static_cast<unsigned>(count) & 1U);
            if (++m_count == 8) {
                m_bytes += static_cast<char>(m_byte);
                m_count = 0;
            }
        }
    }

    /// Adds the bits from \a begin to \a end of \a bytes; must be at a byte's beginning.
    void AddRange(const std::string &bytes, std::size_t begin, std::size_t end)
    {
        const unsigned shift = begin % 8;
        for (; begin + 16 <= end; begin += 8) {
            const auto two = static_cast<unsigned>(static_cast<unsigned char>(bytes[begin / 8]))
                                 << 8U
                             | static_cast<unsigned char>(bytes[begin / 8 + 1]);
            m_bytes += static_cast<char>(two >> (8U - shift));
        }
        for (; begin < end; ++begin)
            Add(static_cast<unsigned char>(bytes[begin / 8]) >> (7U - begin % 8), 1);
    }

    std::string Take()
    {
        Add(0, (8 - m_count) % 8);
        return std::move(m_bytes);
    }

private:
    std::string m_bytes;
    unsigned m_byte = 0;
    int m_count = 0; // bits in it
};

} // namespace

Bzip2Block::Bzip2Block(std::string compressed)
    : m_compressed(std::move(compressed))
    , m_start(new char[kStartSize])
{
    if (BZ2_bzDecompressInit(&m_stream, 0, 0) != BZ_OK)
        throw std::bad_alloc();
    m_stream.next_in = m_compressed.data();
    m_stream.avail_in = static_cast<unsigned>(m_compressed.size());
    // Where no thread can be had, the start is decompressed when its turn comes.
    m_startSize = std::async([this] { return Decompress(m_start.get(), kStartSize); });
}

Bzip2Block::~Bzip2Block()
{
    if (m_startSize.valid())
        m_startSize.wait();
    BZ2_bzDecompressEnd(&m_stream);
}

std::size_t Bzip2Block::Read(char *to, std::size_t room)
{
    if (m_startSize.valid())
        m_startLeft = {m_start.get(), m_startSize.get()};
    if (m_startLeft.empty())
        return Decompress(to, room);
    const std::size_t size = m_startLeft.copy(to, room);
    m_startLeft.remove_prefix(size);
    return size;
}

std::size_t Bzip2Block::Decompress(char *to, std::size_t room)
{
    if (m_ended)
        return 0;
    m_stream.next_out = to;
    m_stream.avail_out = static_cast<unsigned>(room);
    const int result = BZ2_bzDecompress(&m_stream);
    if (result == BZ_MEM_ERROR)
        throw std::bad_alloc();
    m_ended = result == BZ_STREAM_END;
    if (!m_ended && (result != BZ_OK || m_stream.avail_out > 0))
        throw Damaged();
    return room - m_stream.avail_out;
}

Bzip2Source::Bzip2Source(ByteSource &compressed)
    : m_compressed(compressed)
{
}

std::size_t Bzip2Source::Read(char *to, std::size_t room)
{
    for (;;) {
        while (m_blocks.size() < WorkerCount() && StartNextBlock()) {
        }
        if (m_blocks.empty())
            return 0;
        const std::size_t size = m_blocks.front().Read(to, room);
        m_crc = lzma_crc32(reinterpret_cast<const std::uint8_t *>(to), size, m_crc);
        if (size > 0)
            return size;
        m_blocks.pop_front();
    }
}

/// Hands the next block to a thread; false at the end of the file.
bool Bzip2Source::StartNextBlock()
{
    while (m_inStream || StartStream()) {
        DropUsed();
        const std::uint64_t mark = Bits(m_at, kMarkSize);
        const auto sum = static_cast<std::uint32_t>(Bits(m_at + kMarkSize, kBlockSumSize));
        if (mark == kEndMark) {
            if (sum != m_sum)
                throw Damaged();
            m_inStream = false;
            m_at = (m_at + kMarkSize + kBlockSumSize + 7) / 8 * 8;
            continue;
        }
        if (mark != kBlockMark)
            throw Damaged();
        m_sum = (m_sum << 1U | m_sum >> 31U) ^ sum;
        const std::size_t end = FindMark(m_at + kMarkSize);
        BitWriter stream;
        stream.Add(0x425a6839, kHeaderSize); // "BZh9", good for blocks of all sizes
        stream.AddRange(m_input, m_at, end);
        stream.Add(kEndMark, kMarkSize);
        stream.Add(sum, kBlockSumSize);
        m_at = end;
        m_blocks.emplace_back(stream.Take());
        return true;
    }
    return false;
}

/// Reads the header of a stream, of which a file may hold several; false at the file's end.
bool Bzip2Source::StartStream()
{
    if (!Need(m_at / 8 + 1))
        return false;
    const std::uint64_t header = Bits(m_at, kHeaderSize);
    if (header < 0x425a6831 || header > 0x425a6839) // "BZh1" to "BZh9"
        throw Damaged();
    m_at += kHeaderSize;
    m_inStream = true;
    m_sum = 0;
    return true;
}

/// Drops the input before m_at once that is much: to drop each of thousands of tiny blocks would
/// move the rest of the input as often.
void Bzip2Source::DropUsed()
{
    if (m_at / 8 >= kRefillSize) {
        m_input.erase(0, m_at / 8);
        m_at %= 8;
    }
}

/// The bit at which the next mark begins.
std::size_t Bzip2Source::FindMark(std::size_t from)
{
    static const Places second = FindPlaces(1);
    static const Places third = FindPlaces(2);

    const std::size_t last = from / 8 + kLongestBlock;
    for (std::size_t byte = from / 8; byte < last && Need(byte + 8); ++byte) {
        const unsigned places = second[static_cast<unsigned char>(m_input[byte + 1])]
                                & third[static_cast<unsigned char>(m_input[byte + 2])];
        if (places == 0)
            continue;
        for (std::size_t bit = std::max(from, byte * 8); bit < byte * 8 + 8; ++bit) {
            const std::uint64_t mark =
                BigEndian(m_input.data() + byte) >> (16U - bit % 8) & 0xffffffffffffU;
            if (mark == kBlockMark || mark == kEndMark)
                return bit;
        }
    }
    throw Damaged();
}

/// The \a count bits, 48 at most, that begin at bit \a at of the input.
std::uint64_t Bzip2Source::Bits(std::size_t at, int count)
{
    if (!Need((at + static_cast<std::size_t>(count) + 7) / 8))
        throw Damaged();
    std::uint64_t bits = 0;
    for (std::size_t bit = at; bit < at + static_cast<std::size_t>(count); ++bit)
        bits = bits << 1U | (static_cast<unsigned char>(m_input[bit / 8]) >> (7U - bit % 8) & 1U);
    return bits;
}

/// Reads until m_input has as many \a bytes; false if the file ends before.
bool Bzip2Source::Need(std::size_t bytes)
{
    while (m_input.size() < bytes && !m_inputEnded) {
        const std::size_t size = m_input.size();
        m_input.resize(size + kRefillSize);
        const std::size_t got = m_compressed.Read(m_input.data() + size, kRefillSize);
        m_input.resize(size + got);
        m_inputEnded = got == 0;
    }
    return m_input.size() >= bytes;
}
