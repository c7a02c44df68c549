#include "write/disk_space.h"

#include "base/failure.h"

#include <algorithm>
#include <limits>
#include <sys/statvfs.h>

namespace {

// What a component grows to is a few times its archive's size, and some of its files may be empty
// or full of zeros; a bomb grows to thousands of times its size.
constexpr std::uint64_t kHonestGrowth = 100;
constexpr std::uint64_t kSmall =
    std::uint64_t{16} * 1024 * 1024;      // bytes; harmless, whatever the archive
constexpr std::uint64_t kFileCost = 4096; // bytes on the disk that even an empty file may take

constexpr std::uint64_t kLargestReserve = std::uint64_t{256} * 1024 * 1024;
constexpr std::uint64_t kReservePart = 50; // one part in so many of the disk: 2 percent

constexpr std::uint64_t kBytesBetweenLooks = std::uint64_t{16} * 1024 * 1024;
constexpr std::uint64_t kFilesBetweenLooks = 1000;

std::uint64_t Above(std::uint64_t reserve, std::uint64_t free)
{
    return free > reserve ? free - reserve : 0;
}

/// How much may be written before the disk is looked at again: half of what is left at the most, as
/// others write, too.
std::uint64_t Allowance(std::uint64_t left, std::uint64_t wanted, std::uint64_t most)
{
    return std::max(wanted, std::min(left / 2, most));
}

} // namespace

DiskSpace::DiskSpace(int folder, std::uint64_t archive_size)
    : m_folder(folder)
    , m_honest(kSmall + kHonestGrowth * archive_size)
{
}

void DiskSpace::Take(std::uint64_t bytes, std::uint64_t files)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_taken += bytes + files * kFileCost;
    if (m_taken <= m_honest)
        return;
    if (bytes > m_bytes || files > m_files)
        Look(bytes, files);
    m_bytes -= bytes;
    m_files -= files;
}

void DiskSpace::Look(std::uint64_t bytes, std::uint64_t files)
{
    struct statvfs disk = {};
    if (::fstatvfs(m_folder, &disk) != 0)
        throw SystemFailure("free space");
    const std::uint64_t size = disk.f_blocks * disk.f_frsize;
    const std::uint64_t bytes_left =
        Above(std::min(size / kReservePart, kLargestReserve), disk.f_bavail * disk.f_frsize);
    // Some file systems have no fixed number of files and say 0.
    const std::uint64_t files_left = disk.f_files == 0
                                         ? std::numeric_limits<std::uint64_t>::max()
                                         : Above(disk.f_files / kReservePart, disk.f_favail);
    if (bytes > bytes_left || files > files_left)
        throw NotEnoughSpace();
    m_bytes = Allowance(bytes_left, bytes, kBytesBetweenLooks);
    m_files = Allowance(files_left, files, kFilesBetweenLooks);
}
