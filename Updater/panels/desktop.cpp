#include "panels/desktop.h"

#include <QDesktopServices>
#include <QMessageBox>
#include <QUrl>

bool IsConfirmed(QWidget *parent, const QString &question)
{
    return QMessageBox::warning(parent, "ZEFT", question, QMessageBox::Yes | QMessageBox::Cancel)
           == QMessageBox::Yes;
}

void OpenOnDesktop(const QUrl &url)
{
    const QtMessageHandler printer =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    QDesktopServices::openUrl(url);
    qInstallMessageHandler(printer);
}
