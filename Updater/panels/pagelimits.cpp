#include "panels/pagelimits.h"

#include "panels/pagetally.h"

#include <QTextBlock>
#include <QTextDocument>
#include <QTextTable>

#include <algorithm>
#include <cmath>

namespace {

// What a description needs at the most, and more.
const int kLongestLine = 20000; // characters
const double kMostWork = 100000.0;
const double kMostHeight = 2e7; // pixels; the layout can count to 3e7

/// Beyond such sizes, or a page full of them, the layout's coordinates overflow.
double MostOf(int property)
{
    switch (property) {
    case QTextFormat::FontPointSize:
    case QTextFormat::FontPixelSize:
        return 200.0;
    case QTextFormat::ImageWidth:
    case QTextFormat::ImageHeight:
    case QTextFormat::FrameWidth:
        return 1e4;
    case QTextFormat::TextIndent:
        return 1e6;
    default:
        return 1000.0;
    }
}

/// A page that is read and never laid out, without what it names.
class Draft : public QTextDocument
{
protected:
    QVariant loadResource(int /*type*/, const QUrl & /*name*/) override { return QByteArray(""); }
};

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

/// In pixels, or somewhat more.
double FontHeight(const QTextCharFormat &format)
{
    const double kPixelsOfPoint = 1.5;
    const double kLargestAdjustment = 2.0; // of a relative size
    const double points = qMax(12.0, format.fontPointSize()) * kPixelsOfPoint;
    const double pixels = 1.5 * format.intProperty(QTextFormat::FontPixelSize);
    return qMax(points, pixels)
           * (format.hasProperty(QTextFormat::FontSizeAdjustment) ? kLargestAdjustment : 1.0);
}

/// The height of a block that has each letter on a line of its own.
double Height(const QTextBlock &block)
{
    const QTextBlockFormat format = block.blockFormat();
    double height = format.topMargin() + format.bottomMargin();
    for (auto part = block.begin(); !part.atEnd(); ++part) {
        const double font = FontHeight(part.fragment().charFormat());
        const double line = format.lineHeightType() == QTextBlockFormat::ProportionalHeight
                                ? font * qMax(1.0, format.lineHeight() / 100.0)
                                : font + format.lineHeight();
        height += part.fragment().length() * line;
    }
    return height;
}

bool IsModest(const Draft &page)
{
    const QVector<QTextFormat> formats = page.allFormats();
    if (std::any_of(formats.begin(), formats.end(), HasHugeNumber))
        return false;
    double work = 0.0;
    double height = 0.0;
    for (QTextBlock block = page.begin(); block.isValid(); block = block.next()) {
        work += Work(block);
        height += Height(block);
        if (HasLongLine(block.text()) || work > kMostWork || height > kMostHeight)
            return false;
    }
    return true;
}

} // namespace

bool IsQuickToLayOut(const QString &html)
{
    if (!PageTally(html).IsModest())
        return false;
    Draft page;
    page.setHtml(html);
    return IsModest(page);
}
