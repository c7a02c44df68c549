#pragma once

#include "base/unique_fd.h"
#include "write/disk_space.h"

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

/// A file in the making: removed again unless it is finished.
class NewFile
{
public:
    /// \a file is open for writing and stands in \a folder, which must stay open, as \a name.
    NewFile(UniqueFd file, int folder, const std::string &name, DiskSpace &space);
    ~NewFile();
    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;

    /// What lies between two writes is a hole.
    void Write(std::string_view bytes, std::uint64_t offset);

    /// Lengthens the file to \a size bytes and closes it.
    void Finish(std::uint64_t size, const std::optional<timespec> &modified);

private:
    UniqueFd m_file; // none when finished
    const int m_folder;
    const std::string m_name;
    DiskSpace &m_space;
    std::uint64_t m_end = 0; // of what is written
};
