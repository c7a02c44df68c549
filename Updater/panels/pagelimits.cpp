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
const int kMostRules = 1000;    // and through all style rules
const int kMostPictures = 200;
const int kMostCells = 20000;   // that cells over several rows or columns cover
const int kLongestLine = 20000; // characters
const double kMostWork = 100000.0;

/// Beyond such sizes, or a page full of them, the layout's coordinates overflow.
double MostOf(int property)
{
    switch (property) {
    case QTextFormat::FontPointSize:
    case QTextFormat::FontPixelSize:
        return 200.0;
    case QTextFormat::LineHeight:
        return 1000.0;
    case QTextFormat::TextIndent:
        return 1e6;
    default:
        return 1e4;
    }
}

/// A page that is read and never laid out, without what it names.
class Draft : public QTextDocument
{
protected:
    QVariant loadResource(int /*type*/, const QUrl & /*name*/) override { return QByteArray(""); }
};

/// True if cells lie over many rows and columns, or in a way that this can't read.
bool HasWideCells(const QString &html)
{
    const auto ignore_case = QRegularExpression::CaseInsensitiveOption;
    static const QRegularExpression cell("<t[dh]\\s[^>]*span[^>]*", ignore_case);
    static const QRegularExpression span("(?:row|col)span\\s*=\\s*[\"']?\\s*(\\d{1,5})",
                                         ignore_case);
    int covered = 0;
    for (auto cells = cell.globalMatch(html); cells.hasNext();) {
        const QString tag = cells.next().captured();
        qint64 area = 1;
        int read = 0;
        for (auto spans = span.globalMatch(tag); spans.hasNext() && area < kMostCells; ++read)
            area *= spans.next().captured(1).toInt();
        covered += static_cast<int>(qMin<qint64>(area, kMostCells));
        if (read < tag.count("span", Qt::CaseInsensitive) || covered >= kMostCells)
            return true;
    }
    return false;
}

bool HasHugeNumber(const QTextFormat &format)
{
    const QMap<int, QVariant> properties = format.properties();
    for (auto property = properties.begin(); property != properties.end(); ++property) {
        const QVariant &value = property.value();
        const double number = value.canConvert<QTextLength>()
                                  ? value.value<QTextLength>().rawValue()
                                  : (value.type() == QVariant::String ? 0.0 : value.toDouble());
        if (!(std::fabs(number) <= MostOf(property.key()))) // what is no number is huge, too
            return true;
    }
    return false;
}

bool HasLongLine(const QString &block)
{
    const QStringList lines = block.split(QChar::LineSeparator);
    return std::any_of(lines.begin(), lines.end(),
                       [](const QString &line) { return line.size() > kLongestLine; });
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
        if (HasLongLine(block.text()) || work > kMostWork)
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
