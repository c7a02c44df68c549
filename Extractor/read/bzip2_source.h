#pragma once

#include "read/byte_source.h"

#include <cstdint>
#include <deque>
#include <future>
#include <string>

/// What a bzip2 file holds, unpacked on all processors.
///
/// The blocks of such a file are independent but stand in it bit by bit, with no sign of their
/// length. They are found by the 48 bits with which each begins. That these occur by chance within
/// a block, about once in 20 TB, is a Failure, too.
class Bzip2Source : public ByteSource
{
public:
    explicit Bzip2Source(ByteSource &packed);

    std::size_t Read(char *to, std::size_t room) override;

private:
    bool StartNextBlock();
    void DropUsed();
    bool StartStream();
    std::size_t FindMark(std::size_t from);
    std::uint64_t Bits(std::size_t at, int count);
    bool Need(std::size_t bytes);

    ByteSource &m_packed;
    std::string m_input;  // as far as it was read and is not yet handed to a thread
    std::size_t m_at = 0; // the bit in it that is next
    bool m_inputEnded = false;
    bool m_inStream = false;                       // between a file header and its end mark
    std::uint32_t m_sum = 0;                       // of the stream's blocks so far
    std::deque<std::future<std::string>> m_blocks; // at work, in order
    std::string m_block;                           // the one that is being read
    std::size_t m_read = 0;                        // bytes of it
};
