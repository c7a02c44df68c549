#include "common/desktop.h"

#include <QApplication>
#include <QFileDialog>
#include <QFont>
#include <QStandardPaths>

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
