#pragma once

#include "read/byte_source.h"
#include "read/lzma2_as_xz.h"
#include "read/seven_zip_header.h"
#include "read/xz_source.h"

/// The only file in a 7z, decompressed on all processors, which libarchive can't.
class SevenZipSource : public ByteSource
{
public:
    /// Throws a Failure for a 7z of any other kind.
    SevenZipSource(const InputFile &file, Progress &progress);

    std::size_t Read(char *to, std::size_t room) override;

    std::uint32_t Crc() const { return m_crc; }

private:
    const Lzma2File m_content;
    Lzma2AsXz m_xz;
    XzSource m_source;
    std::uint64_t m_read = 0; // bytes
    std::uint32_t m_crc = 0;  // of the bytes read so far
};
