#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <unistd.h>

/// The percent lines on standard output, each written at once: "%3d%%" and a line feed.
///
/// They never fall. Any thread may report. An output that is closed or broken is no fault. A line
/// that the output has no room for is dropped: nobody reads then, and the work may not wait.
class Progress
{
public:
    /// Writes to \a output in place of the standard output; -1 writes nowhere.
    explicit Progress(int output = STDOUT_FILENO)
        : m_output(output)
    {
    }
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    /// From now on, and until the end, a line comes at least every 200 ms, whatever the work is at.
    void Start();

    /// A number above the work is cut to 99: 100 says that all is done.
    void Reach(std::uint64_t done, std::uint64_t total);
    /// Adds \a bytes to the work that is done; \a total is all of it.
    void Advance(std::uint64_t bytes, std::uint64_t total) { Reach(m_done += bytes, total); }
    void Finish();

    /// Prints a percent that a script reports, even one below the last.
    void Tell(int percent);

private:
    void Repeat();
    void Print(int percent);

    const int m_output;
    std::mutex m_mutex; // held while a line is printed
    std::condition_variable m_endCame;
    bool m_ended = false;
    std::atomic<int> m_percent{0};
    std::atomic<std::uint64_t> m_done{0}; // what Advance() has counted so far
    std::thread m_repeater;
};
