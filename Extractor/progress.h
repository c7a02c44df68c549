#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>

/// The percent lines on standard output, each written at once: "%3d%%" and a line feed.
///
/// They never fall, and while work goes on one comes at least every 200 ms. Any thread may report.
/// An output that is closed or broken is no fault: the work counts, not its display.
class Progress
{
public:
    /// A number above the work is cut to 99: 100 says that all is done.
    void Reach(std::uint64_t done, std::uint64_t total);
    void Finish();

    /// Says that work goes on, by a thread that doesn't know how far it is.
    void Tick() { Reach(0, 1); }

    /// Passes on what somebody else says of work, be it less than before.
    void Tell(int percent);

private:
    using Clock = std::chrono::steady_clock;

    void Print(int percent);

    std::mutex m_mutex; // of whoever prints
    std::atomic<int> m_percent{-1};
    std::atomic<Clock::rep> m_due{0}; // when the same number is said again
};
