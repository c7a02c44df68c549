#pragma once

#include "read/byte_source.h"
#include "read/lzma2_blocks.h"

#include <lzma.h>
#include <optional>
#include <vector>

/// What every \a step th of some LZMA2 blocks holds, from block \a index on. So as many sources as
/// a step has share the work.
class Lzma2Source : public ByteSource
{
public:
    /// Unpacking takes the memory of a \a dictionary, bytes, less where the blocks are smaller.
    Lzma2Source(const InputFile &file, Lzma2Blocks &blocks, std::size_t index, std::size_t step,
                std::uint32_t dictionary);
    ~Lzma2Source() override;
    Lzma2Source(const Lzma2Source &) = delete;
    Lzma2Source &operator=(const Lzma2Source &) = delete;

    /// Throws a BadBlock for damage.
    std::size_t Read(char *to, std::size_t room) override;

private:
    bool StartBlock();
    void Fill();

    const InputFile &m_file;
    Lzma2Blocks &m_blocks;
    std::size_t m_next; // block
    const std::size_t m_step;
    const std::uint32_t m_dictionary;
    std::optional<Lzma2Block> m_block; // that is being unpacked
    std::uint64_t m_offset = 0;        // in the file, as far as that was read
    std::vector<std::uint8_t> m_input;
    lzma_stream m_stream = LZMA_STREAM_INIT;
};
