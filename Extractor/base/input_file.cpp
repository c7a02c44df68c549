#include "base/input_file.h"

#include "base/failure.h"

#include <fcntl.h>
#include <sys/stat.h>

InputFile::InputFile(const std::string &path)
    : m_path(path)
    // A named pipe without a writer would block here for ever.
    , m_fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK))
{
    struct stat status = {};
    if (!m_fd || ::fstat(m_fd.Get(), &status) != 0)
        throw SystemFailure(path);
    if (!S_ISREG(status.st_mode))
        throw Failure(path + ": not a file");
    m_size = static_cast<std::uint64_t>(status.st_size);
}

std::size_t InputFile::ReadAt(std::uint64_t offset, void *to, std::size_t room) const
{
    std::size_t filled = 0;
    while (filled < room) {
        const ssize_t got = ::pread(m_fd.Get(), static_cast<char *>(to) + filled, room - filled,
                                    static_cast<off_t>(offset + filled));
        if (got == 0)
            break;
        if (got > 0)
            filled += static_cast<std::size_t>(got);
        else if (errno != EINTR)
            throw SystemFailure(m_path);
    }
    return filled;
}
