#pragma once

#include "read/byte_source.h"

#include <bzlib.h>
#include <cstdint>
#include <deque>
#include <future>
#include <memory>
#include <string>
#include <string_view>

/// What one block of a bzip2 file holds. A thread decompresses the first 4 MiB, more than most
/// blocks hold. Read() decompresses the rest straight into its caller's buffer: for long runs of
/// equal bytes that is quicker than writing to new memory.
class Bzip2Block : public ByteSource
{
public:
    /// \a compressed is a whole bzip2 stream of one block.
    explicit Bzip2Block(std::string compressed);
    ~Bzip2Block() override;
    Bzip2Block(const Bzip2Block &) = delete;
    Bzip2Block &operator=(const Bzip2Block &) = delete;

    std::size_t Read(char *to, std::size_t room) override;

private:
    std::size_t Decompress(char *to, std::size_t room);

    std::string m_compressed;
    bz_stream m_stream = {};
    bool m_ended = false;                 // nothing is left to be decompressed
    std::unique_ptr<char[]> m_start;      // the first bytes
    std::future<std::size_t> m_startSize; // valid until the first bytes have been waited for
    std::string_view m_startLeft;         // those of them that have not been read
};

/// What a bzip2 file holds, decompressed on all processors.
///
/// The blocks of such a file are independent but stand in it bit by bit, with no sign of their
/// length. They are found by the 48 bits with which each begins. These bits may also occur within a
/// block by chance, about once in 20 TB, and that is a Failure, too.
class Bzip2Source : public ByteSource
{
public:
    explicit Bzip2Source(ByteSource &compressed);

    std::size_t Read(char *to, std::size_t room) override;

    std::uint32_t Crc() const { return m_crc; }

private:
    bool StartNextBlock();
    void DropUsed();
    bool StartStream();
    std::size_t FindMark(std::size_t from);
    std::uint64_t Bits(std::size_t at, int count);
    bool Need(std::size_t bytes);

    ByteSource &m_compressed;
    std::string m_input;  // bytes of the file that no thread has got yet
    std::size_t m_at = 0; // offset in m_input, in bits, of the next bit to look at
    bool m_inputEnded = false;
    bool m_inStream = false;         // m_at is between a stream's header and its end mark
    std::uint32_t m_sum = 0;         // combined checksum of the stream's blocks so far
    std::deque<Bzip2Block> m_blocks; // that are being decompressed, in their order
    std::uint32_t m_crc = 0;         // CRC-32 of all bytes read so far
};
