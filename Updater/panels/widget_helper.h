#pragma once

class QAbstractButton;
class QString;
class QWidget;

// What Qt's widgets lack for the use by keyboard.

/// Enables or disables the widget. If that takes the focus away, \a heir gets it, and not whatever
/// button comes next, which Space would then press.
void SetEnabled(QWidget *widget, bool enabled, QWidget *heir);

/// Changes the text and keeps the button's shortcut, which Qt drops with the text.
void SetButtonText(QAbstractButton *button, const QString &text);
