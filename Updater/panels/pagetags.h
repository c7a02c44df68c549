#pragma once

#include <QMap>
#include <QString>

/// An opening or closing tag of a page.
struct PageTag
{
    QString name; // in lower case
    bool closes = false;
    QMap<QString, QString> attributes; // by their names in lower case; a bare one is "1"
};

/// Reads the tags of a page as the toolkit's parser does, which is not as any standard says: blanks
/// may follow a "<", and what stands in a style sheet or script is read like the rest. Entities
/// stay as they are.
class PageTags
{
public:
    explicit PageTags(const QString &html);

    /// The next tag; false at the page's end.
    bool Next(PageTag &tag);
    /// What stood before it, behind the one before, with all comments; at the end, the rest.
    QStringRef TextBefore() const { return m_text; }

private:
    bool SkipTo(const QString &mark);
    void SkipBlanks();
    bool IsAt(char letter) const { return m_at < m_html.size() && m_html[m_at] == letter; }
    QString Word();
    QString Quoted();
    void ReadAttributes(PageTag &tag);

    const QString m_html;
    QStringRef m_text;
    int m_at = 0;
};
