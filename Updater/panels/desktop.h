#pragma once

#include <QString>

class QUrl;
class QWidget;

/// Asks before something that is hard to undo. True for Yes; closing the box counts as no.
bool IsConfirmed(QWidget *parent, const QString &question);

/// Opens \a url in the desktop's browser. That there is none is not reported, nor printed.
void OpenOnDesktop(const QUrl &url);
