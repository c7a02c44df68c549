#pragma once

#include <cstdint>
#include <mutex>

/// Keeps an archive that is made to fill the disk from doing so: once its content has become far
/// larger than a component's would, a reserve of the disk stays free. A component may take the last
/// free block. Any thread may ask.
class DiskSpace
{
public:
    /// \a folder is a descriptor on the file system in question, and must stay open.
    DiskSpace(int folder, std::uint64_t archive_size);

    /// To be called before \a bytes are written or a file or folder is made (\a files is 1);
    /// throws a Failure if that would eat into a reserve that has to be kept.
    void Take(std::uint64_t bytes, std::uint64_t files);

private:
    void Look(std::uint64_t bytes, std::uint64_t files);

    int m_folder;
    const std::uint64_t m_honest; // bytes that may be taken without any look at the disk
    std::mutex m_mutex;
    std::uint64_t m_taken = 0; // bytes taken since the start
    std::uint64_t m_bytes = 0; // that may be taken until the next look at the disk
    std::uint64_t m_files = 0; // that may be made until the next look at the disk
};
