#include "panels/pagetags.h"

PageTags::PageTags(const QString &html)
    : m_html(html)
{
}

bool PageTags::Next(PageTag &tag)
{
    const int begin = m_at;
    while (SkipTo("<")) {
        const int end = m_at - 1;
        SkipBlanks();
        if (IsAt('!')) {
            SkipTo(m_html.midRef(m_at, 3) == "!--" ? "-->" : ">");
            continue;
        }
        m_text = m_html.midRef(begin, end - begin);
        tag = PageTag();
        tag.closes = IsAt('/');
        m_at += tag.closes ? 1 : 0;
        tag.name = Word().toLower();
        if (!tag.closes)
            ReadAttributes(tag);
        SkipTo(">");
        return true;
    }
    m_text = m_html.midRef(begin);
    return false;
}

/// Goes behind the mark, or to the end where there is none.
bool PageTags::SkipTo(const QString &mark)
{
    const int place = m_html.indexOf(mark, m_at);
    m_at = place < 0 ? m_html.size() : place + mark.size();
    return place >= 0;
}

void PageTags::SkipBlanks()
{
    while (m_at < m_html.size() && m_html[m_at].isSpace())
        ++m_at;
}

QString PageTags::Word()
{
    if (IsAt('"') || IsAt('\''))
        return Quoted();
    const int begin = m_at;
    while (m_at < m_html.size() && !m_html[m_at].isSpace() && !IsAt('<') && !IsAt('>') && !IsAt('=')
           && !(IsAt('/') && m_html.midRef(m_at, 2) == "/>"))
        ++m_at;
    return m_html.mid(begin, m_at - begin);
}

QString PageTags::Quoted()
{
    const int begin = m_at + 1;
    const int end = m_html.indexOf(m_html[m_at], begin);
    m_at = end < 0 ? m_html.size() : end + 1;
    return m_html.mid(begin, end < 0 ? -1 : end - begin);
}

void PageTags::ReadAttributes(PageTag &tag)
{
    for (SkipBlanks(); m_at < m_html.size() && !IsAt('>') && !IsAt('/'); SkipBlanks()) {
        const QString name = Word().toLower();
        if (name.isEmpty())
            return;
        QString value = "1";
        SkipBlanks();
        if (IsAt('=')) {
            ++m_at;
            SkipBlanks();
            value = Word();
        }
        tag.attributes.insert(name, value);
    }
}
