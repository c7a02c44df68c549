#pragma once

#include <QString>

class QUrl;
class QWidget;

/// Asks before something that is hard to undo. True for Yes; closing the box counts as no.
bool IsConfirmed(QWidget *parent, const QString &question);

/// A handler for qInstallMessageHandler() that keeps the toolkit's messages off the console, but
/// for why it can't go on.
void DropMessage(QtMsgType type, const QMessageLogContext &context, const QString &text);

/// Opens \a url in the desktop's browser. That there is none is not reported, nor printed.
void OpenOnDesktop(const QUrl &url);
