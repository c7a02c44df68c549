#include "common/text_convert.h"

#include "common/text_check.h"

#include <QStringList>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

const int kLongestText = 1000000000; // characters; a QString can hold few more

bool IsDigit(QChar c)
{
    return c >= '0' && c <= '9';
}

/// The decimal text of the number that follows \a digits; none and too many of them read as 0.
QString NextNumber(const QString &digits)
{
    return QString::number(static_cast<quint64>(digits.toLongLong()) + 1);
}

} // namespace

QString RealToString(float value, int min_decimals, int decimals)
{
    return RealToString(static_cast<double>(value), min_decimals, decimals);
}

QString RealToString(double value, int min_decimals, int decimals)
{
    // Infinity divided by ten is infinity again, and has no decimals.
    for (double rest = value; rest > 1.0 && std::isfinite(rest) && decimals > min_decimals;
         rest /= 10.0)
        --decimals;
    return QString::number(value, 'f', std::max(decimals, 0));
}

QString TrimString(QString s, char c, bool left, bool right)
{
    const auto other = [c](QChar here) { return here != QLatin1Char(c); };
    if (right)
        s.chop(static_cast<int>(std::find_if(s.crbegin(), s.crend(), other) - s.crbegin()));
    if (left)
        s.remove(0, static_cast<int>(std::find_if(s.cbegin(), s.cend(), other) - s.cbegin()));
    return s;
}

QString IncrString(const QString &s)
{
    if (s.isEmpty())
        return s;
    if (IsStringNumeric(s, false))
        return QString::number(static_cast<qint64>(s.toInt()) + 1);

    if (IsDigit(s.back())) {
        const auto end = std::find_if_not(s.crbegin(), s.crend(), IsDigit);
        if (end == s.crend())
            return s;
        const int digits = static_cast<int>(end - s.crbegin());
        return s.chopped(digits) + NextNumber(s.right(digits));
    }
    const int digits =
        static_cast<int>(std::find_if_not(s.cbegin(), s.cend(), IsDigit) - s.cbegin());
    return NextNumber(s.left(digits)) + s.mid(digits);
}

QString EnsureNumber(QString s)
{
    s = s.trimmed();
    return IsStringNumeric(s, true) ? s : QStringLiteral("0");
}

QString ShiftDecimal(bool right, int count, QString s)
{
    if (count < 1)
        return s;
    if (!s.contains('.'))
        s += QLatin1String(".0");
    if (s.startsWith('.'))
        s.prepend('0');
    if (s.endsWith('.'))
        s.append('0');

    // Adds all missing zeros in one step, and takes away the surplus ones in another.
    int point = s.indexOf('.');
    s.remove(point, 1);
    const auto is_zero = [](QChar c) { return c == '0'; };
    if (std::all_of(s.cbegin(), s.cend(), is_zero))
        count = std::min(count, s.size()); // any further place adds a zero and takes one
    if (count > kLongestText - s.size())
        return QString();
    if (right) {
        point += count;
        s.append(QString(std::max(0, point + 1 - s.size()), '0'));
        const auto zeros = std::find_if_not(s.cbegin(), s.cend(), is_zero) - s.cbegin();
        const int taken = std::min(count, static_cast<int>(zeros));
        s.remove(0, taken);
        point -= taken;
    } else {
        const int added = std::max(0, count + 1 - point);
        s.prepend(QString(added, '0'));
        point += added - count;
        const auto zeros = std::find_if_not(s.crbegin(), s.crend(), is_zero) - s.crbegin();
        s.chop(std::min(count, static_cast<int>(zeros)));
    }
    return s.insert(point, '.');
}

int CalVersionInt(const QString &version, int parts)
{
    const QStringList texts = version.split('.');
    const int available = std::min(texts.size(), 3);
    if (parts < 1 || parts > available)
        parts = available;

    qint64 sum = 0;
    qint64 weight = 100;
    for (int i = 0; i < parts; ++i, weight /= 10)
        sum += weight * texts.at(i).toInt();
    using Range = std::numeric_limits<int>;
    return static_cast<int>(qBound<qint64>(Range::min(), sum, Range::max()));
}

QString ExtractPlatformText(const QString &s)
{
    const QStringList sections = s.split(QLatin1String(" $$ "));
    QString section = sections.at(std::min(sections.size(), 3) - 1);
    return section.replace(QLatin1String("_lnx"), QLatin1String("_*")).trimmed();
}
