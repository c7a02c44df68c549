#include "panels/desktop.h"

#include "common/common_helper.h"

#include <QDesktopServices>
#include <QUrl>

#include <cstdio>

bool IsConfirmed(QWidget *parent, const QString &question)
{
    return AskUser(parent, question, QMessageBox::Yes, QMessageBox::Cancel);
}

void DropMessage(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type == QtFatalMsg)
        std::fputs(qPrintable(text + '\n'), stderr);
}

void OpenOnDesktop(const QUrl &url)
{
    const QtMessageHandler printer = qInstallMessageHandler(DropMessage);
    QDesktopServices::openUrl(url);
    qInstallMessageHandler(printer);
}
