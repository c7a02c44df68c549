#pragma once

#include <cstdint>
#include <mutex>

/// Keeps an archive from filling the disk: what it may take is what is free, less a reserve.
/// Any thread may ask.
class DiskSpace
{
public:
    /// \a folder is a descriptor on the file system in question, and must stay open.
    explicit DiskSpace(int folder)
        : m_folder(folder)
    {
    }

    /// To be called before \a bytes are written or a file or folder is made (\a files is 1);
    /// throws a Failure if that would eat into the reserve.
    void Take(std::uint64_t bytes, std::uint64_t files);

private:
    void Look(std::uint64_t bytes, std::uint64_t files);

    int m_folder;
    std::mutex m_mutex;
    std::uint64_t m_bytes = 0; // that may be taken before the file system is asked again
    std::uint64_t m_files = 0;
};
