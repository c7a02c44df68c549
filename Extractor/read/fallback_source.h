#pragma once

#include "base/failure.h"
#include "read/byte_source.h"

#include <algorithm>
#include <lzma.h>
#include <optional>
#include <vector>

/// What a quick source brings, and from its first failure on what a sure one has in that place.
///
/// The quick one may fail because it was not made for the file, so that the sure one, which
/// decompresses byte after byte, has the last word on damage. Nobody who reads notices the change:
/// what was already brought must be the same in both, or the file counts as damaged. That is why a
/// Quick has a function Crc(), which gives the CRC-32 of the bytes that it has brought.
template <typename Quick> class FallbackSource : public ByteSource
{
public:
    /// \a input is what a Quick is made from. \a sure must be at its beginning.
    template <typename... Input>
    explicit FallbackSource(ByteSource &sure, Input &...input)
        : m_sure(sure)
    {
        try {
            m_quick.emplace(input...);
        } catch (const Failure &) {
            // Then the sure one brings everything.
        }
    }

    std::size_t Read(char *to, std::size_t room) override
    {
        if (!m_quick)
            return m_sure.Read(to, room);
        try {
            const std::size_t size = m_quick->Read(to, room);
            m_read += size;
            return size;
        } catch (const Failure &) {
            PassOverRead(m_quick->Crc());
            m_quick.reset();
        }
        return m_sure.Read(to, room);
    }

private:
    void PassOverRead(std::uint32_t quick_crc)
    {
        std::vector<char> bytes(kInputSize);
        std::uint32_t crc = 0;
        while (m_read > 0) {
            const std::size_t size =
                m_sure.Read(bytes.data(),
                            static_cast<std::size_t>(std::min<std::uint64_t>(m_read, kInputSize)));
            if (size == 0)
                break;
            crc = lzma_crc32(reinterpret_cast<const std::uint8_t *>(bytes.data()), size, crc);
            m_read -= size;
        }
        if (m_read > 0 || crc != quick_crc)
            throw Failure("is damaged: it cannot be decompressed");
    }

    ByteSource &m_sure;
    std::optional<Quick> m_quick;
    std::uint64_t m_read = 0; // bytes that the quick source has brought
};
