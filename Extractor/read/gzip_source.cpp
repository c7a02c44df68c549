#include "read/gzip_source.h"

#include "base/failure.h"

#include <algorithm>
#include <new>

namespace {

constexpr Bytef kMemberStart = 0x1f; // the first byte of each member
constexpr int kGzipWindow = 15 + 16; // the largest window, in a gzip wrapping

} // namespace

GzipSource::GzipSource(ByteSource &compressed)
    : m_compressed(compressed)
    , m_input(kInputSize)
{
    if (inflateInit2(&m_stream, kGzipWindow) != Z_OK)
        throw std::bad_alloc();
}

GzipSource::~GzipSource()
{
    inflateEnd(&m_stream);
}

std::size_t GzipSource::Read(char *to, std::size_t room)
{
    m_stream.next_out = reinterpret_cast<Bytef *>(to);
    m_stream.avail_out = static_cast<uInt>(room);
    while (m_stream.avail_out == room && (m_inMember || StartNextMember())) {
        if (m_stream.avail_in == 0 && !Refill())
            throw Failure("is cut off");
        const int result = inflate(&m_stream, Z_NO_FLUSH);
        if (result == Z_STREAM_END)
            m_inMember = false;
        else if (result != Z_OK)
            throw Failure("is damaged: gzip data error");
    }
    return room - m_stream.avail_out;
}

bool GzipSource::Refill()
{
    m_stream.next_in = reinterpret_cast<Bytef *>(m_input.data());
    m_stream.avail_in = static_cast<uInt>(m_compressed.Read(m_input.data(), m_input.size()));
    return m_stream.avail_in > 0;
}

/// Another member may follow, behind zeros that fill up a block of the first one's medium. Any
/// other bytes behind a member are ignored.
bool GzipSource::StartNextMember()
{
    for (;;) {
        const Bytef *const end = m_stream.next_in + m_stream.avail_in;
        m_stream.next_in = std::find_if(m_stream.next_in, const_cast<Bytef *>(end),
                                        [](Bytef byte) { return byte != 0; });
        m_stream.avail_in = static_cast<uInt>(end - m_stream.next_in);
        if (m_stream.avail_in > 0) {
            if (*m_stream.next_in != kMemberStart)
                return false;
            inflateReset(&m_stream);
            m_inMember = true;
            return true;
        }
        if (!Refill())
            return false;
    }
}
