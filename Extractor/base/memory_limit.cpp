#include "base/memory_limit.h"

#include <algorithm>
#include <fstream>
#include <sys/resource.h>
#include <unistd.h>

namespace {

// Enough for a dictionary of 3 GB; packers seldom take more than 64 MB.
constexpr rlim_t kMostMemory = rlim_t{4} << 30U;

/// Bytes that already count against the limit: few, unless a sanitizer is in use.
rlim_t MemoryInUse()
{
    std::ifstream statm("/proc/self/statm"); // proc(5)
    rlim_t pages = 0;                        // the sixth field: data and stack
    for (int field = 0; field < 6; ++field)
        statm >> pages;
    return pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
}

} // namespace

void LimitMemory()
{
    rlimit limit = {};
    ::getrlimit(RLIMIT_DATA, &limit);
    limit.rlim_cur = std::min(limit.rlim_cur, MemoryInUse() + kMostMemory);
    ::setrlimit(RLIMIT_DATA, &limit);
}
