#include "common/line_text.h"

QString GetLineWithMatchingKeyString(const QString &text, const QString &key)
{
    const int start = key.isEmpty() ? -1 : text.indexOf(key);
    if (start < 0)
        return QString();
    const int end = text.indexOf(QLatin1String("\r\n"), start + key.size());
    return end < 0 ? text.mid(start) : text.mid(start, end - start);
}

QString GetKeyValue(const QString &key, const QString &separator, const QString &text)
{
    const QString line = GetLineWithMatchingKeyString(text, key);
    const int place = line.indexOf(separator);
    return place < 0 ? line : line.mid(place + separator.size());
}

QStringList ExtractLinesFromText(const QString &text, const QString &separator, bool keep_empty)
{
    QStringList lines = text.split(separator);
    if (!keep_empty)
        lines.removeAll(QString());
    return lines;
}

bool RemoveCommentedSection(QString &s)
{
    const int marker = s.indexOf(QLatin1String("///"));
    if (marker < 0)
        return false;
    s.truncate(marker);
    return true;
}

void GetStringsBetweenCharacters(const QString &text, const QString &start, const QString &end,
                                 QStringList &out)
{
    if (start.isEmpty() || end.isEmpty())
        return;
    int place = text.indexOf(start);
    while (place >= 0) {
        const int inner = place + start.size();
        const int close = text.indexOf(end, inner);
        if (close < 0)
            return; // a later start would find no end either
        out.append(text.mid(inner, close - inner));
        place = text.indexOf(start, close + end.size());
    }
}
