#include "panels/desktop.h"

#include "common/common_helper.h"

#include <QDesktopServices>
#include <QUrl>

bool IsConfirmed(QWidget *parent, const QString &question)
{
    return AskUser(parent, question, QMessageBox::Yes, QMessageBox::Cancel);
}

void DropMessage(QtMsgType, const QMessageLogContext &, const QString &) {}

void OpenOnDesktop(const QUrl &url)
{
    const QtMessageHandler printer = qInstallMessageHandler(DropMessage);
    QDesktopServices::openUrl(url);
    qInstallMessageHandler(printer);
}
