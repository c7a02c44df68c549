#pragma once

#include "base/input_file.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

/// The first byte of what follows the last block.
constexpr unsigned char kLzma2End = 0;

/// Where LZMA2 bytes can be unpacked without what stands before them: the packer has begun anew
/// there, to be able to use several processors itself.
struct Lzma2Block
{
    std::uint64_t begin; // in the file, as is
    std::uint64_t end;   // this
    std::uint64_t size;  // bytes unpacked, which have been neither tested nor seen yet
};

/// The blocks of LZMA2 bytes, found by the sizes that each of their chunks begins with, just as far
/// as somebody asks for them. The format's source is the public domain xz-file-format and the
/// decoder of XZ Embedded.
class Lzma2Blocks
{
public:
    /// The bytes from \a begin to \a end, the mark of the end included.
    Lzma2Blocks(const InputFile &file, std::uint64_t begin, std::uint64_t end);

    /// Several threads may ask at once. Nothing behind the last block; throws a BadBlock where the
    /// sizes make no sense, or blocks that cannot be unpacked side by side in moderate memory.
    std::optional<Lzma2Block> At(std::size_t index);

private:
    struct Chunk
    {
        unsigned char control;
        std::size_t packed; // bytes, with what describes it
        std::size_t size;   // bytes unpacked
    };

    Lzma2Block FindBlock();
    Chunk ChunkAt(std::uint64_t offset) const;

    const InputFile &m_file;
    std::mutex m_mutex;
    std::uint64_t m_at; // in the file, as far as blocks were found
    const std::uint64_t m_end;
    std::vector<Lzma2Block> m_blocks;
};
