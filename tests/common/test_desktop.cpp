#include "common/common_helper.h"
#include "support/table.h"

#include <QAbstractButton>
#include <QFileDialog>
#include <QFileSystemModel>
#include <QLineEdit>
#include <QMessageBox>
#include <QtTest>

class TestDesktop : public QObject
{
    Q_OBJECT

private slots:
    void Confirms_data();
    void Confirms();
    void PicksAFolder();
    void KnowsTheDataFolderAndTheFont();
};

void TestDesktop::Confirms_data()
{
    const Table<QString, bool, int, QString, bool> row("text", "yes_no", "button", "shown",
                                                       "confirmed");
    const QString question = "Delete <b>?";
    row("Yes", question, true, int(QMessageBox::Yes), question, true);
    row("No", question, true, int(QMessageBox::No), question, false);
    row("closed, Yes or No", question, true, 0, question, false);
    const QString general = "Press OK to confirm your action.";
    row("OK", "", false, int(QMessageBox::Ok), general, true);
    row("Cancel", "", false, int(QMessageBox::Cancel), general, false);
    row("closed, OK or Cancel", "", false, 0, general, false);
}

void TestDesktop::Confirms()
{
    QFETCH(QString, text);
    QFETCH(bool, yes_no);
    QFETCH(int, button); // 0 closes the box
    QWidget window;
    QString shown;
    QTimer::singleShot(0, &window, [&] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        QVERIFY(box);
        QCOMPARE(box->windowTitle(), QString("ZEFT"));
        QCOMPARE(box->icon(), QMessageBox::Warning);
        QCOMPARE(box->textFormat(), Qt::PlainText);
        QCOMPARE(box->parentWidget(), &window);
        QCOMPARE(box->buttons().size(), 2);
        shown = box->text();
        if (button)
            box->button(QMessageBox::StandardButton(button))->click();
        else
            box->close();
    });
    QTEST(ConfirmUserAction(&window, text, yes_no), "confirmed");
    QTEST(shown, "shown");
}

void TestDesktop::PicksAFolder()
{
    const QTemporaryDir dir;
    QDir(dir.path()).mkdir("a");
    QFile::link(dir.filePath("a"), dir.filePath("link"));
    for (const bool picks : {true, false}) {
        QTimer::singleShot(0, this, [&] {
            auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
            QVERIFY(dialog);
            QCOMPARE(dialog->windowTitle(), QString("Where to"));
            QCOMPARE(dialog->directory().path(), dir.path());
            QVERIFY(dialog->testOption(QFileDialog::ShowDirsOnly));
            // A listing that comes later would overwrite the name.
            auto *model = dialog->findChild<QFileSystemModel *>();
            QTRY_VERIFY(model->rowCount(model->index(dir.path())) > 0);
            dialog->findChild<QLineEdit *>()->setText(dir.filePath("link"));
            picks ? dialog->accept() : dialog->reject();
        });
        QCOMPARE(GetDirectoryFromUser(nullptr, dir.path(), "Where to"),
                 picks ? QFileInfo(dir.filePath("a")).canonicalFilePath() : QString());
    }
}

void TestDesktop::KnowsTheDataFolderAndTheFont()
{
    const QTemporaryDir home;
    const QByteArray old_config = qgetenv("XDG_CONFIG_HOME");
    qputenv("XDG_CONFIG_HOME", home.path().toLocal8Bit());
    WriteFileData(home.filePath("user-dirs.dirs"), "XDG_DOCUMENTS_DIR=\"/papers\"\n");
    QCOMPARE(GetZeftUserDataDir(), QString("/papers/zeft_user_data"));
    old_config.isNull() ? qunsetenv("XDG_CONFIG_HOME") : qputenv("XDG_CONFIG_HOME", old_config);

    QApplication::setFont(QFont("Helvetica", 10));
    QCOMPARE(GetSystemFontFamily(), QString("Helvetica"));
    QCOMPARE(GetSystemFontSize(1.5F), 15.0F);
}

QTEST_MAIN(TestDesktop)
#include "test_desktop.moc"
