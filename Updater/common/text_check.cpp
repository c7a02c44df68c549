#include "common/text_check.h"

#include <algorithm>
#include <cmath>

namespace {

bool IsLetter(QChar c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsHexDigit(QChar c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

/// False for an empty text.
template <typename Predicate> bool AllCharacters(const QString &s, Predicate fits)
{
    return !s.isEmpty() && std::all_of(s.begin(), s.end(), fits);
}

/// The rule of IsStringContainsError() for any \a word of small letters.
bool ReportsWord(const QString &s, const QString &word)
{
    if (s.contains(word + ':', Qt::CaseInsensitive))
        return true;
    if (!s.contains(word + ' ', Qt::CaseInsensitive))
        return false;
    if (s.contains(word + QLatin1String(" ="), Qt::CaseInsensitive))
        return false;
    int place = s.indexOf(word);
    if (place < 0)
        place = s.indexOf(word, 0, Qt::CaseInsensitive);
    return place == 0 || !IsStringAlphaNumeric(s.at(place - 1), true);
}

} // namespace

bool IsStringValid(const QString &s, QString extra)
{
    extra += QLatin1String("/\\:*?\"<>|.%;'#$^");
    std::sort(extra.begin(), extra.end());
    return AllCharacters(
        s, [&](QChar c) { return !std::binary_search(extra.cbegin(), extra.cend(), c); });
}

bool IsStringNumeric(const QString &s, bool allow_negative)
{
    if (s.isEmpty() || (!allow_negative && s.startsWith('-')))
        return false;
    if (s == QLatin1String("0") || s.toInt() != 0)
        return true;
    return !(std::abs(s.toFloat()) < 0.0001F); // so that not-a-number counts too
}

bool IsStringRealNumber(const QString &s)
{
    return IsStringNumeric(s, true) && s.contains('.');
}

bool IsStringAlphabets(const QString &s)
{
    return AllCharacters(s, IsLetter);
}

bool IsStringHexNumber(const QString &s)
{
    return AllCharacters(s, IsHexDigit);
}

bool IsStringAlphaNumeric(const QString &s, bool allow_negative)
{
    return IsStringAlphabets(s) || IsStringNumeric(s, allow_negative);
}

bool IsStringContainsError(const QString &s)
{
    return ReportsWord(s, QStringLiteral("error"));
}

bool IsStringContainsWarning(const QString &s)
{
    return ReportsWord(s, QStringLiteral("warning"));
}
