#include "panels/pagelimits.h"

#include <QHash>
#include <QRegularExpression>
#include <QSet>

namespace {

const int kMostCharacters = 200000;
const int kMostOpen = 100; // elements of one kind
const int kMostTables = 8; // inside each other: each level doubles the time

/// True for an element that may stand without its end.
bool MayStayOpen(const QString &name)
{
    static const QSet<QString> names = {"area",  "base",  "br",    "col",  "dd",    "dt",     "hr",
                                        "img",   "input", "li",    "link", "meta",  "option", "p",
                                        "tbody", "td",    "tfoot", "th",   "thead", "tr"};
    return names.contains(name);
}

/// True for a tag or style sheet with a length of five digits, or a cell across a hundred others.
bool HasHugeNumber(const QString &tag)
{
    static const QRegularExpression huge(
        "(?:width|height|border|margin|padding|spacing|indent|size|font)[\\w-]{0,20}[\\s\"']{0,9}[:"
        "=]"
        "[\\s\"'+\\w.%-]{0,99}?\\d{5}|(?:col|row)span[\\s\"'=+]{0,9}\\d{3}",
        QRegularExpression::CaseInsensitiveOption);
    return huge.match(tag).hasMatch();
}

} // namespace

bool IsQuickToLayOut(const QString &html)
{
    static const QRegularExpression tag("<(/?)(style[^<]*|[a-z]\\w*)[^>]*",
                                        QRegularExpression::CaseInsensitiveOption);
    if (html.size() > kMostCharacters)
        return false;
    QHash<QString, int> open;
    for (auto tags = tag.globalMatch(html); tags.hasNext();) {
        const QRegularExpressionMatch match = tags.next();
        const QString name = match.captured(2).toLower();
        int &depth = open[name];
        depth = match.captured(1).isEmpty() ? depth + 1 : qMax(depth - 1, 0);
        if (HasHugeNumber(match.captured())
            || (depth > (name == "table" ? kMostTables : kMostOpen) && !MayStayOpen(name)))
            return false;
    }
    return true;
}
