#include "script/percent_lines.h"

#include "base/trimmed.h"

#include <algorithm>

namespace {

constexpr std::size_t kLongestLine = 80; // a longer one can't be a percent

/// The percent that \a line says, from 0 to 100; -1 if it is anything else.
int ReadPercent(std::string_view line)
{
    line = Trimmed(line);
    if (line.size() < 2 || line.size() > 4 || line.back() != '%')
        return -1;
    int percent = 0;
    for (const char digit : line.substr(0, line.size() - 1)) {
        if (digit < '0' || digit > '9')
            return -1;
        percent = percent * 10 + (digit - '0');
    }
    return percent <= 100 ? percent : -1;
}

} // namespace

void PercentLines::Add(std::string_view text)
{
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        m_line += text.substr(0, std::min(end, kLongestLine + 1 - m_line.size()));
        if (end == text.size())
            return;
        End();
        text.remove_prefix(end + 1);
    }
}

void PercentLines::End()
{
    const int percent = m_line.size() <= kLongestLine ? ReadPercent(m_line) : -1;
    if (percent >= 0)
        m_progress.Tell(percent);
    m_line.clear();
}
