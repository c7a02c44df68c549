#pragma once

class QAbstractButton;
class QString;

// What Qt's widgets lack for the use by keyboard.

/// Changes the text and keeps the button's shortcut, which Qt drops with the text.
void SetButtonText(QAbstractButton *button, const QString &text);
