#include "Repository/description.h"

#include <QRegularExpression>

namespace {

// Without the embedded pictures. Qt takes 2 s for so many in paragraphs and 7 s in a pin table.
const int kMostCharacters = 2000000;

// Qt makes a cell for each column in each row: a pin table of 1,156 rows takes 0.3 s with its four
// columns and 2 s with these.
const int kMostColumns = 32;

// A cell that spans rows moves the cells of the next rows aside, so that each row may add a column
// until the first such cell ends.
const int kMostRows = 100;

// Qt lays out twice what a table holds, so each table around another one doubles the time: the pin
// table takes 2 s as the innermost of these.
const int kDeepestTable = 4;

/// The places that count, as Qt reads them: blanks may follow a "<", and a comment is skipped with
/// all that it holds.
QRegularExpression Places()
{
    return QRegularExpression("<\\s*!--.*?(?:-->|\\z)"
                              "|<\\s*(?<end>/?)(?<table>table)\\b"
                              "|\\b(?<way>col|row)span[\"']?\\s*=\\s*[\"']?\\s*(?<span>[^\"'\\s>]*)"
                              "|\\b(?<picture>data:image/[^\"'<>]*)",
                              QRegularExpression::CaseInsensitiveOption
                                  | QRegularExpression::DotMatchesEverythingOption);
}

} // namespace

bool CutForLayout(QString &html)
{
    QString text;
    int done = 0; // characters of the description that stand, or are replaced, in the text
    const auto replace = [&](const QRegularExpressionMatch &place, const char *group,
                             const QString &replacement) {
        text += html.midRef(done, place.capturedStart(group) - done);
        text += replacement;
        done = place.capturedEnd(group);
    };
    int characters = html.size();
    int depth = 0;
    auto places = Places().globalMatch(html);
    while (places.hasNext()) {
        const QRegularExpressionMatch place = places.next();
        characters -= place.capturedLength("picture");
        if (place.capturedLength("way") > 0) {
            const bool is_row = place.captured("way").toLower() == "row";
            const int span = place.captured("span").toInt(); // 0 for what is no number
            replace(place, "span",
                    QString::number(qBound(1, span, is_row ? kMostRows : kMostColumns)));
        } else if (place.capturedLength("table") > 0) {
            const bool ends = place.capturedLength("end") > 0;
            depth += ends ? 0 : 1;
            if (depth > kDeepestTable)
                replace(place, "table", "inner-table"); // Qt passes over tags that it doesn't know
            depth -= ends && depth > 0 ? 1 : 0;
        }
    }
    html = text + html.midRef(done);
    return characters <= kMostCharacters;
}
