#pragma once

#include <QString>
#include <QStringList>

// Lines end in "\r\n" here: a bare line feed is a character like any other.

/// The rest of the line from the first \a key on; the key need not begin its line.
///
/// Keys are case-sensitive. Empty if \a key is empty or missing.
QString GetLineWithMatchingKeyString(const QString &text, const QString &key);

/// What stands behind the first \a separator of GetLineWithMatchingKeyString(), untrimmed.
///
/// Without the separator it is that whole line, key included; empty if \a key is missing.
QString GetKeyValue(const QString &key, const QString &separator, const QString &text);

QStringList ExtractLinesFromText(const QString &text, const QString &separator, bool keep_empty);

/// Cuts \a s from its first "///" to the end of the whole text; false if there is none.
bool RemoveCommentedSection(QString &s);

/// Appends to \a out what stands between each \a start and the next \a end, in the text's order.
///
/// Pairs don't nest: "[[a]" gives "[a". An empty mark gives nothing.
void GetStringsBetweenCharacters(const QString &text, const QString &start, const QString &end,
                                 QStringList &out);
