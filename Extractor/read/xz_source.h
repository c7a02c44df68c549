#pragma once

#include "read/byte_source.h"

#include <lzma.h>
#include <vector>

/// What an .xz file holds. One in several blocks, as `xz -T0` makes it, is decompressed on all
/// processors, which libarchive's filter can't.
class XzSource : public ByteSource
{
public:
    explicit XzSource(ByteSource &compressed);
    ~XzSource() override;
    XzSource(const XzSource &) = delete;
    XzSource &operator=(const XzSource &) = delete;

    std::size_t Read(char *to, std::size_t room) override;

private:
    ByteSource &m_compressed;
    std::vector<char> m_input;
    lzma_stream m_stream = LZMA_STREAM_INIT;
    lzma_action m_action = LZMA_RUN;
};
