#include "base/progress.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <poll.h>
#include <system_error>

namespace {

// Half of what is promised, as a busy machine wakes a thread late.
constexpr std::chrono::milliseconds kSilence(100);

} // namespace

Progress::~Progress()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_ended = true;
    }
    m_endCame.notify_one();
    if (m_repeater.joinable())
        m_repeater.join();
}

void Progress::Start()
{
    try {
        m_repeater = std::thread(&Progress::Repeat, this);
    } catch (const std::system_error &) {
        // Without this thread only the repeated lines are missing.
    }
}

void Progress::Reach(std::uint64_t done, std::uint64_t total)
{
    const double share = total == 0 ? 0.0 : static_cast<double>(done) / static_cast<double>(total);
    const int percent = static_cast<int>(std::min(share * 100.0, 99.0));
    if (percent <= m_percent)
        return;
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (percent > m_percent)
        Print(percent);
}

void Progress::Finish()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_ended = true;
    Print(100);
}

void Progress::Tell(int percent)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    Print(percent);
}

void Progress::Repeat()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_endCame.wait_for(lock, kSilence, [this] { return m_ended; }))
        Print(m_percent);
}

void Progress::Print(int percent)
{
    m_percent = percent;

    pollfd output = {m_output, POLLOUT, 0};
    if (::poll(&output, 1, 0) <= 0)
        return;
    char line[8];
    const int length = std::snprintf(line, sizeof line, "%3d%%\n", percent);
    [[maybe_unused]] const ssize_t written =
        ::write(m_output, line, static_cast<std::size_t>(length));
}
