#pragma once

#include <QMessageBox>

class QUrl;

/// Where the user's own data goes, below the documents folder. It need not exist.
QString GetZeftUserDataDir();

/// Lets the user pick a folder in a dialogue over \a parent, a QWidget or null, from \a dir on.
///
/// Gives its canonical path without a "/" at the end; empty if the user cancels.
QString GetDirectoryFromUser(void *parent, const QString &dir, QString caption);

/// Asks in a box over \a parent, as plain text. True for \a agree; closing it, or Return or Escape,
/// counts as \a refuse.
bool AskUser(QWidget *parent, const QString &question, QMessageBox::StandardButton agree,
             QMessageBox::StandardButton refuse);

/// Asks in a box over \a parent, with Yes and No or with OK and Cancel; closing it counts as no.
///
/// An empty \a text becomes a general question.
bool ConfirmUserAction(QWidget *parent, QString text, bool yes_no);

constexpr bool IsGlMultiSamplingSupported()
{
    return false;
}

/// The application font's size in points, times \a factor.
float GetSystemFontSize(float factor);

QString GetSystemFontFamily();

/// Asks before something that is hard to undo. True for Yes; closing the box counts as no.
bool IsConfirmed(QWidget *parent, const QString &question);

/// A handler for qInstallMessageHandler() that keeps Qt's messages off the console, but
/// for why it can't go on.
void DropMessage(QtMsgType type, const QMessageLogContext &context, const QString &text);

/// Opens \a url in the desktop's browser. That there is none is not reported, nor printed.
void OpenOnDesktop(const QUrl &url);
