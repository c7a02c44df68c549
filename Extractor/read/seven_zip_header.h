#pragma once

#include "base/input_file.h"

#include <cstdint>

/// The only file in a 7z, compressed with LZMA2 and nothing else, as 7z compresses a tar.
struct Lzma2File
{
    std::uint64_t begin;           // offset in the archive of the first byte of the LZMA2 stream
    std::uint64_t end;             // offset in the archive of the byte after the stream's last one
    std::uint32_t dictionary_size; // bytes
    std::uint64_t size;            // uncompressed size in bytes
    std::uint32_t crc;             // CRC-32 of the uncompressed bytes
};

/// Throws a Failure for any other archive. The header's own checksums are not tested: whoever told
/// a 7z with a single file from others has read the header before. The format's source is
/// 7zFormat.txt of the LZMA SDK.
Lzma2File ReadSevenZipHeader(const InputFile &file);
