#pragma once

#include "base/unique_fd.h"

#include <cstddef>
#include <cstdint>
#include <string>

/// An archive on the disk, open for reading; several threads may read it at once.
class InputFile
{
public:
    explicit InputFile(const std::string &path);

    const std::string &Path() const { return m_path; }
    std::uint64_t Size() const { return m_size; }

    /// Reads as much as is there, up to \a room bytes; 0 is the end.
    std::size_t ReadAt(std::uint64_t offset, void *to, std::size_t room) const;

private:
    std::string m_path;
    UniqueFd m_fd;
    std::uint64_t m_size = 0;
};
