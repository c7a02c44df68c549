#pragma once

class QAbstractButton;
class QAbstractItemView;
class QPlainTextEdit;
class QString;
class QTableWidget;
class QWidget;

// What Qt's widgets lack for the use by keyboard, with any font and in a small window.

/// Enables or disables the widget. If that takes the focus away, \a heir gets it, and not whatever
/// button comes next, which Space would then press.
void SetEnabled(QWidget *widget, bool enabled, QWidget *heir);

/// Changes the text and keeps the button's shortcut, which Qt drops with the text.
void SetButtonText(QAbstractButton *button, const QString &text);

/// Makes the widget at least as wide as a number of characters of its font.
void SetWidthInCharacters(QWidget *widget, int characters);

/// Makes the text at least as high as a number of lines of its font.
void SetHeightInLines(QPlainTextEdit *text, int lines);

/// Gives each item whose text is cut, and that has no tool tip of its own, one with the whole text.
void ShowCutTexts(QAbstractItemView *view);

/// Calls ShowCutTexts(), and makes the rows as high as the table's font needs.
void SetUpTable(QTableWidget *table);
