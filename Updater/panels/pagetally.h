#pragma once

#include "panels/pagetags.h"

/// What the tags of a page add up to. The toolkit makes a cell for each column in each row as soon
/// as it reads a page, and tries all style rules on each element.
class PageTally
{
public:
    explicit PageTally(const QString &html);

    /// False if the toolkit would take long to read the page.
    bool IsModest() const;

private:
    void Count(const PageTag &tag);
    void CountCell(const QMap<QString, QString> &attributes);
    void CountRules(const QStringRef &sheet);
    double LargestTable() const;

    const qint64 m_characters;
    bool m_isClear = true; // no tag's name is spelt with entities
    qint64 m_opened = 0;
    qint64 m_closed = 0;
    qint64 m_pictures = 0;
    qint64 m_pictureCharacters = 0;
    qint64 m_rules = 0; // style declarations, four times the selectors, and the sheets

    int m_depth = 0; // of open tables, or more than that
    double m_innerTables = 0;
    double m_rows = 1;
    double m_columns = 0; // since the row's begin
    double m_widestRow = 0;
    double m_longestSpan = 1; // in rows
    double m_spanColumns = 0; // of all cells over several rows
};
