#include "panels/pagelimits.h"

#include <QRegularExpression>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextTable>

#include <algorithm>
#include <cmath>

namespace {

// What a description needs at the most, and more.
const int kMostCharacters = 1000000;
const int kMostElements = 8000; // for each the toolkit looks through all open ones,
const int kMostRules = 300;     // and through all style rules
const int kMostPictures = 200;
const int kWidestCell = 200;     // rows or columns
const int kMostSpans = 4000;     // rows and columns of all cells that lie over several
const int kLongestBlock = 20000; // characters
const double kMostWork = 100000.0;
const double kMostLength = 10000.0;

/// A page that is read and never laid out, without what it names.
class Draft : public QTextDocument
{
protected:
    QVariant loadResource(int /*type*/, const QUrl & /*name*/) override { return QByteArray(""); }
};

/// True if cells lie over many rows or columns, or in a way that this can't read.
bool HasWideCells(const QString &html)
{
    static const QRegularExpression span("(?:row|col)span(?:=[\"']?(\\d{1,3})[\"'\\s>])?",
                                         QRegularExpression::CaseInsensitiveOption);
    int sum = 0;
    for (auto spans = span.globalMatch(html); spans.hasNext();) {
        const QString number = spans.next().captured(1);
        sum += number.toInt();
        if (number.isEmpty() || number.toInt() > kWidestCell || sum > kMostSpans)
            return true;
    }
    return false;
}

bool HasHugeNumber(const QTextFormat &format)
{
    const QMap<int, QVariant> properties = format.properties();
    return std::any_of(properties.begin(), properties.end(), [](const QVariant &value) {
        const double number = value.canConvert<QTextLength>()
                                  ? value.value<QTextLength>().rawValue()
                                  : (value.type() == QVariant::String ? 0.0 : value.toDouble());
        return !(std::fabs(number) <= kMostLength); // so that what is no number is huge, too
    });
}

/// The work of laying out a block, of which each table around it doubles the share of a line.
double Work(const QTextBlock &block)
{
    int depth = 0;
    for (const QTextFrame *frame = QTextCursor(block).currentFrame(); frame;
         frame = frame->parentFrame())
        ++depth;
    return std::ldexp(1 + block.length() / 50, depth);
}

bool IsModest(const Draft &page)
{
    const QVector<QTextFormat> formats = page.allFormats();
    if (std::any_of(formats.begin(), formats.end(), HasHugeNumber))
        return false;
    double work = 0.0;
    for (QTextBlock block = page.begin(); block.isValid(); block = block.next()) {
        work += Work(block);
        if (block.length() > kLongestBlock || work > kMostWork)
            return false;
    }
    return true;
}

} // namespace

bool IsQuickToLayOut(const QString &html)
{
    if (html.size() > kMostCharacters || html.count('<') - html.count("</") > kMostElements
        || html.count('{') > kMostRules || html.count("<img", Qt::CaseInsensitive) > kMostPictures
        || HasWideCells(html))
        return false;
    Draft page;
    page.setHtml(html);
    return IsModest(page);
}
