#include "progress.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace {

// Half of the promised 200 ms, since nobody looks at the clock while one block is worked on.
constexpr std::chrono::milliseconds kSilence(100);

} // namespace

void Progress::Reach(std::uint64_t done, std::uint64_t total)
{
    const double share = total == 0 ? 0.0 : static_cast<double>(done) / static_cast<double>(total);
    const int percent = static_cast<int>(std::min(share * 100.0, 99.0));
    if (percent <= m_percent && Clock::now().time_since_epoch().count() < m_due) {
        return;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    Print(std::max(percent, m_percent.load()));
}

void Progress::Finish()
{
    Tell(100);
}

void Progress::Tell(int percent)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    Print(percent);
}

void Progress::Print(int percent)
{
    m_percent = percent;
    m_due = (Clock::now() + kSilence).time_since_epoch().count();

    char line[8];
    const int length = std::snprintf(line, sizeof line, "%3d%%\n", percent);
    [[maybe_unused]] const ssize_t written =
        ::write(STDOUT_FILENO, line, static_cast<std::size_t>(length));
}
