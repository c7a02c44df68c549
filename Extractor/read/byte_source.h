#pragma once

#include "base/failure.h"
#include "base/input_file.h"
#include "base/progress.h"

#include <cstddef>
#include <cstdint>

/// Bytes of its input that a decoder asks for at a time.
constexpr std::size_t kInputSize = std::size_t{64} * 1024;

/// Bytes that are read once, front to back, by one thread.
class ByteSource
{
public:
    virtual ~ByteSource() = default;

    /// Brings up to \a room bytes, as many as are at hand; 0 only at the end.
    /// Throws a Failure when the bytes are damaged or cut off.
    virtual std::size_t Read(char *to, std::size_t room) = 0;
};

/// The bytes of a file, not decompressed. How far the file has been read is the run's progress.
class FileSource : public ByteSource
{
public:
    FileSource(const InputFile &file, Progress &progress)
        : m_file(file)
        , m_progress(progress)
    {
    }

    std::size_t Read(char *to, std::size_t room) override
    {
        const std::size_t got = m_file.ReadAt(m_offset, to, room);
        m_offset += got;
        m_progress.Reach(m_offset, m_file.Size());
        return got;
    }

private:
    const InputFile &m_file;
    Progress &m_progress;
    std::uint64_t m_offset = 0;
};
