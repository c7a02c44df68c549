#include "read/seven_zip_source.h"

#include "base/failure.h"

#include <algorithm>
#include <lzma.h>

SevenZipSource::SevenZipSource(const InputFile &file, Progress &progress)
    : m_content(ReadSevenZipHeader(file))
    , m_xz(file, m_content.begin, m_content.end, m_content.dictionary_size, progress)
    , m_source(m_xz)
{
}

std::size_t SevenZipSource::Read(char *to, std::size_t room)
{
    if (m_read == m_content.size)
        return 0;
    const std::size_t size = m_source.Read(
        to, static_cast<std::size_t>(std::min<std::uint64_t>(room, m_content.size - m_read)));
    m_crc = lzma_crc32(reinterpret_cast<const std::uint8_t *>(to), size, m_crc);
    m_read += size;
    if (m_read == m_content.size && m_crc != m_content.crc)
        throw Failure("is damaged: wrong checksum");
    return size;
}
