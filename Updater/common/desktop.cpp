#include "common/desktop.h"

#include <QApplication>
#include <QDesktopServices>
#include <QFileDialog>
#include <QFont>
#include <QStandardPaths>
#include <QUrl>

#include <cstdio>

QString GetZeftUserDataDir()
{
    return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)
           + QLatin1String("/zeft_user_data");
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): a copy of a QString is cheap
QString GetDirectoryFromUser(void *parent, const QString &dir, QString caption)
{
    const QString choice = QFileDialog::getExistingDirectory(
        static_cast<QWidget *>(parent), caption, dir, QFileDialog::ShowDirsOnly);
    if (choice.isEmpty())
        return QString();
    QString path = QFileInfo(choice).canonicalFilePath();
    if (path.endsWith('/'))
        path.chop(1);
    return path;
}

bool AskUser(QWidget *parent, const QString &question, QMessageBox::StandardButton agree,
             QMessageBox::StandardButton refuse)
{
    QMessageBox box(QMessageBox::Warning, QStringLiteral("ZEFT"), question, agree | refuse, parent);
    box.setTextFormat(Qt::PlainText); // a file name may look like mark-up
    box.setDefaultButton(refuse);
    return box.exec() == agree;
}

bool ConfirmUserAction(QWidget *parent, QString text, bool yes_no)
{
    if (text.isEmpty())
        text = QStringLiteral("Press OK to confirm your action.");
    return yes_no ? AskUser(parent, text, QMessageBox::Yes, QMessageBox::No)
                  : AskUser(parent, text, QMessageBox::Ok, QMessageBox::Cancel);
}

float GetSystemFontSize(float factor)
{
    return static_cast<float>(QApplication::font().pointSizeF()) * factor;
}

QString GetSystemFontFamily()
{
    return QApplication::font().family();
}

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
