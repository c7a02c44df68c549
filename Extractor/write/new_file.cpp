#include "write/new_file.h"

#include "base/failure.h"

#include <sys/stat.h>

NewFile::NewFile(UniqueFd file, int folder, const std::string &name, DiskSpace &space)
    : m_file(std::move(file))
    , m_folder(folder)
    , m_name(name)
    , m_space(space)
{
}

NewFile::~NewFile()
{
    if (m_file)
        ::unlinkat(m_folder, m_name.c_str(), 0);
}

void NewFile::Write(std::string_view bytes, std::uint64_t offset)
{
    m_space.Take(bytes.size(), 0);
    while (!bytes.empty()) {
        const ssize_t written =
            ::pwrite(m_file.Get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (written < 0) {
            if (errno == EINTR)
                continue;
            throw SystemFailure(m_name);
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
        offset += static_cast<std::uint64_t>(written);
    }
    m_end = offset;
}

void NewFile::Finish(std::uint64_t size, const std::optional<timespec> &modified)
{
    if (size > m_end && ::ftruncate(m_file.Get(), static_cast<off_t>(size)) != 0)
        throw SystemFailure(m_name);
    if (modified) {
        const timespec times[2] = {{0, UTIME_OMIT}, *modified};
        ::futimens(m_file.Get(), times); // a time that the file system can't hold is no loss
    }
    if (::close(m_file.Release()) != 0)
        throw SystemFailure(m_name);
}
