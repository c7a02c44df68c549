#pragma once

#include <algorithm>
#include <string_view>

/// The part of \a text between the blanks and line ends around it.
inline std::string_view Trimmed(std::string_view text)
{
    constexpr const char *kBlanks = " \t\r\n";
    const std::size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
    return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}
