#pragma once

#include "read/byte_source.h"

#include <vector>
#include <zlib.h>

/// What a gzip file holds, its checksums tested: libarchive's filter looks at none of them.
class GzipSource : public ByteSource
{
public:
    explicit GzipSource(ByteSource &compressed);
    ~GzipSource() override;
    GzipSource(const GzipSource &) = delete;
    GzipSource &operator=(const GzipSource &) = delete;

    std::size_t Read(char *to, std::size_t room) override;

private:
    bool Refill();
    bool StartNextMember();

    ByteSource &m_compressed;
    std::vector<char> m_input;
    z_stream m_stream = {};
    bool m_inMember = true;
};
