#include "common/common_helper.h"
#include "support/test.h"

class TestDesktop : public QObject
{
    Q_OBJECT

private slots:
    void Confirms();
    void PicksAFolder();
};

void TestDesktop::Confirms()
{
    QWidget window;
    for (const bool yes_no : {true, false}) {
        const QString text = yes_no ? "Delete <b>?" : "";
        const auto agree = yes_no ? QMessageBox::Yes : QMessageBox::Ok;
        const auto refuse = yes_no ? QMessageBox::No : QMessageBox::Cancel;
        for (const auto button : {agree, refuse, QMessageBox::NoButton}) { // the last one closes
            QTimer::singleShot(0, &window, [&] {
                auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
                QVERIFY(box && box->parentWidget() == &window && box->buttons().size() == 2);
                QCOMPARE(box->windowTitle(), QString("ZEFT"));
                QCOMPARE(box->icon(), QMessageBox::Warning);
                QCOMPARE(box->textFormat(), Qt::PlainText);
                QCOMPARE(box->text(), yes_no ? text : QString("Press OK to confirm your action."));
                button ? box->button(button)->click() : void(box->close());
            });
            QCOMPARE(ConfirmUserAction(&window, text, yes_no), button == agree);
        }
    }
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

ZEFT_TEST(TestDesktop)
#include "test_desktop.moc"
