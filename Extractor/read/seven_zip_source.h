#pragma once

#include "read/byte_source.h"
#include "read/lzma2_blocks.h"
#include "read/seven_zip_header.h"

#include <memory>
#include <vector>

/// The only file in a 7z, unpacked on all processors, which libarchive can't.
class SevenZipSource : public PieceSource
{
public:
    SevenZipSource(const InputFile &file, const Lzma2File &packed, Progress &progress);
    ~SevenZipSource() override;

    /// Throws a BadBlock for damage, and for what only looks like it.
    std::string_view Next() override;

private:
    class Worker;

    const InputFile &m_file;
    const Lzma2File m_packed;
    Progress &m_progress;
    Lzma2Blocks m_blocks;
    std::vector<std::unique_ptr<Worker>> m_workers; // block by block it is another one's turn
    std::size_t m_index = 0;                        // of the block that is read
    std::uint64_t m_blockRead = 0;
    std::uint64_t m_read = 0; // bytes
    std::uint32_t m_crc = 0;  // of those
};
