#pragma once

#include "base/input_file.h"

#include <cstdint>

/// The only file in a 7z, packed with LZMA2 and nothing else, as 7z packs a tar.
struct Lzma2File
{
    std::uint64_t begin;      // of the packed bytes in the archive, as is
    std::uint64_t end;        // this
    std::uint32_t dictionary; // bytes, that unpacking needs
    std::uint64_t size;       // bytes unpacked
    std::uint32_t crc;        // of those
};

/// Throws a BadBlock for any other archive. The checksums of the description are not looked at:
/// whoever told a 7z with a single file from others has read it already. The format's source is
/// 7zFormat.txt of the LZMA SDK.
Lzma2File ReadSevenZipHeader(const InputFile &file);
