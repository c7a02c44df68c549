#pragma once

#include <algorithm>
#include <thread>

/// On how many threads to spread work: one for each processor, but not so many that the memory
/// which each of them needs adds up.
inline unsigned WorkerCount()
{
    constexpr unsigned kMost = 8;
    return std::clamp(std::thread::hardware_concurrency(), 1U, kMost);
}
