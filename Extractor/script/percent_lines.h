#pragma once

#include "base/progress.h"

#include <string>
#include <string_view>

/// Looks in a text, which comes piece by piece, for lines that are nothing but a percent.
class PercentLines
{
public:
    explicit PercentLines(Progress &progress)
        : m_progress(progress)
    {
    }

    void Add(std::string_view text);

    /// Takes what stands behind the last line feed as a line.
    void End();

private:
    Progress &m_progress;
    std::string m_line; // what has come of the line that has no line feed yet
};
