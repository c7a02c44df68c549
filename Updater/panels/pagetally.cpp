#include "panels/pagetally.h"

namespace {

// What a description needs at the most, and more.
const int kMostCharacters = 1000000; // without the pictures
const int kMostCharactersOfAll = 4000000;
const int kMostElements = 8000;   // for each the toolkit looks through all open ones,
const int kMostStyling = 4000000; // and through all style rules
const int kSheetCost = 80;        // of which each tag in a style sheet begins a new one
const int kMostPictures = 200;
const int kMostStrayEnds = 100; // tags that close nothing and are looked up among all open ones
const double kMostCells = 100000.0;

} // namespace

PageTally::PageTally(const QString &html)
    : m_characters(html.size())
{
    PageTags tags(html);
    PageTag tag;
    bool is_sheet = false;
    while (tags.Next(tag)) {
        if (is_sheet)
            CountRules(tags.TextBefore());
        Count(tag);
        // A tag that closes something else ends none.
        is_sheet = tag.closes ? is_sheet && tag.name != "style" : tag.name == "style";
    }
    if (is_sheet)
        CountRules(tags.TextBefore());
}

void PageTally::Count(const PageTag &tag)
{
    m_isClear = m_isClear && !tag.name.contains('&');
    if (tag.closes) {
        ++m_closed;
        m_depth -= tag.name == "table" && m_depth > 0 ? 1 : 0;
        return;
    }
    ++m_opened;
    if (tag.name == "img") {
        ++m_pictures;
        m_pictureCharacters += tag.attributes["src"].size();
    }
    if (tag.name == "table") {
        m_innerTables += m_depth > 0 ? 1 : 0;
        ++m_depth;
    } else if (tag.name == "tr") {
        m_depth = qMax(m_depth, 1); // the toolkit adds the table that is missing
        ++m_rows;
        m_columns = 0;
    } else if (tag.name == "td" || tag.name == "th") {
        m_depth = qMax(m_depth, 1);
        CountCell(tag.attributes);
    }
}

void PageTally::CountCell(const QMap<QString, QString> &attributes)
{
    for (auto attribute = attributes.begin(); attribute != attributes.end(); ++attribute) {
        const bool is_span = attribute.key() == "rowspan" || attribute.key() == "colspan";
        m_isClear = m_isClear && !attribute.key().contains('&')
                    && !(is_span && attribute.value().contains('&'));
    }
    const int columns = qMax(1, attributes["colspan"].toInt());
    const int rows = qMax(1, attributes["rowspan"].toInt());
    m_columns += columns;
    m_widestRow = qMax(m_widestRow, m_columns);
    m_longestSpan = qMax<double>(m_longestSpan, rows);
    m_spanColumns += rows > 1 ? columns : 0;
}

void PageTally::CountRules(const QStringRef &sheet)
{
    m_rules += kSheetCost + sheet.count(';') + 4 * (sheet.count('{') + sheet.count(','));
}

/// No table can be larger, however they stand in each other: a row may go on behind an inner table,
/// and cells of the rows above may reach into it.
double PageTally::LargestTable() const
{
    const double row = qMin(m_widestRow * m_longestSpan, m_widestRow + m_spanColumns);
    return (m_rows + m_longestSpan) * row * (1 + m_innerTables);
}

bool PageTally::IsModest() const
{
    return m_isClear && m_characters <= kMostCharactersOfAll
           && m_characters - m_pictureCharacters <= kMostCharacters && m_opened <= kMostElements
           && m_closed <= m_opened + kMostStrayEnds && m_pictures <= kMostPictures
           && m_rules * m_opened <= kMostStyling && LargestTable() <= kMostCells;
}
