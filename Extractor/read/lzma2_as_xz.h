#pragma once

#include "base/input_file.h"
#include "base/progress.h"
#include "read/byte_source.h"

#include <cstddef>
#include <cstdint>
#include <string>

/// An LZMA2 stream in a file, in the wrapping of an .xz file, so that XzSource decompresses it on
/// all processors: each part of the stream that begins with a dictionary reset becomes a block.
///
/// The .xz file has no checksums and lacks its index, since whoever reads it knows where its
/// content ends. The formats' source is the public domain xz-file-format and the decoder of XZ
/// Embedded.
class Lzma2AsXz : public ByteSource
{
public:
    /// The stream goes from \a begin to \a end, the byte that marks its end included.
    /// Decompressing it takes a dictionary of \a dictionary_size bytes.
    Lzma2AsXz(const InputFile &file, std::uint64_t begin, std::uint64_t end,
              std::uint32_t dictionary_size, Progress &progress);

    std::size_t Read(char *to, std::size_t room) override;

private:
    struct Chunk
    {
        unsigned char control;
        std::size_t size; // bytes, with the header of the chunk
        std::size_t uncompressed_size;
    };

    void EndBlock();
    void StartBlock();
    Chunk ChunkAt(std::uint64_t offset) const;

    const InputFile &m_file;
    Progress &m_progress;
    const std::uint64_t m_begin;
    const std::uint64_t m_end;
    const std::uint32_t m_dictionarySize;
    std::string m_wrapping; // bytes that come before the next ones of the file
    std::uint64_t m_at;     // offset in the file of the next byte to read
    std::uint64_t m_blockBegin;
    std::uint64_t m_blockEnd;
};
