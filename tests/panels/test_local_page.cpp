#include "app/mainwindow_helper.h"
#include "panels/localdownloaddlg.h"
#include "support/installation.h"
#include "support/repository.h"
#include "support/silentconsole.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QtTest>

class TestLocalPage : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { SilentConsole::Start(); }
    void cleanup() { QCOMPARE(SilentConsole::Take().join('\n'), QString()); }

    void InstallsPickedFiles();
    void AsksForAnInstalledOne();
    void TurnsDownWhatIsNotSafe();
};

namespace {

LocalDownloadDlg *PageOf(const Installation &installation)
{
    auto *item = installation.Window()->tree_item_local;
    return qobject_cast<LocalDownloadDlg *>(item->data(0, Qt::UserRole).value<QObject *>());
}

/// Presses "Add" and picks files in the dialogue: by their names, in \a dir where one is given.
/// With no names the dialogue is cancelled. Gives the directory that the dialogue began with.
QString Pick(LocalDownloadDlg *page, const QStringList &names, const QString &dir = QString())
{
    QString began;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        watch.stop();
        began = dialog->directory().path();
        if (names.isEmpty())
            return dialog->reject();
        if (!dir.isEmpty())
            dialog->setDirectory(dir);
        dialog->findChild<QLineEdit *>("fileNameEdit")->setText('"' + names.join("\" \"") + '"');
        dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Open)->click();
    });
    watch.start(1);
    page->findChild<QPushButton *>("pb_add")->click();
    return began;
}

QList<int> Statuses(const QList<DN_FILE_STRUCT *> &records)
{
    QList<int> statuses;
    for (const DN_FILE_STRUCT *record : records)
        statuses.append(record->status);
    return statuses;
}

} // namespace

void TestLocalPage::InstallsPickedFiles()
{
    Installation installation;
    const QTemporaryDir picked;
    const QStringList names = {QString::fromUtf8("zeft_bsp_my b\xC3\xB6"
                                                 "ard.hlib.zip"),
                               "zeft_bsp_x.htc.tar.xz"};
    PackArchive(picked.filePath(names[0]), {{QString::fromUtf8("my b\xC3\xB6"
                                                               "ard/version.info"),
                                             "build:1"}});
    PackArchive(picked.filePath(names[1]), {{"x/version.info", "build:2"}});
    WriteFile(installation.Path("hardware/tools/x/old"), "old");

    LocalDownloadDlg *page = PageOf(installation);
    QCOMPARE(Pick(page, {}), installation.Path(""));
    QCOMPARE(page->Rows(), 0);
    QCOMPARE(Pick(page, names, picked.path()), installation.Path(""));
    const QList<DN_FILE_STRUCT *> &records = installation.Window()->local_records;
    QCOMPARE(page->Rows(), 2);
    QCOMPARE(page->FS(1), records[1]);
    QCOMPARE(records[1]->local_dir, picked.path());
    QCOMPARE(records[1]->checksum, 0);
    QCOMPARE(records[1]->file_size, QFileInfo(picked.filePath(names[1])).size());
    QVERIFY(QRegularExpression("^\\d{4}-\\d\\d-\\d\\dT[\\d:.]{12}Z$")
                .match(records[1]->time_stamp)
                .hasMatch());
    QCOMPARE(Statuses(records), QList<int>({5, 5}));
    QCOMPARE(Pick(page, {names[1]}), picked.path()); // in work: not a word
    QCOMPARE(page->Rows(), 2);

    QVERIFY(installation.Work([&] { return Statuses(records) == QList<int>({7, 7}); }));
    QCOMPARE(ReadFile(installation.Path(QString::fromUtf8("hardware/my b\xC3\xB6"
                                                          "ard/version.info"))),
             QByteArray("build:1"));
    QCOMPARE(ReadFile(installation.Path("hardware/tools/x/version.info")), QByteArray("build:2"));
    QVERIFY(!QFile::exists(installation.Path("hardware/tools/x/old")));
    QVERIFY(QFile::exists(picked.filePath(names[0])) && QFile::exists(picked.filePath(names[1])));
}

void TestLocalPage::AsksForAnInstalledOne()
{
    Installation installation(false); // the records keep the status that is set here
    LocalDownloadDlg *page = PageOf(installation);
    const QTemporaryDir picked;
    for (const char *name : {"a.hlib.zip", "b.htc", "xa.hlib.zip"})
        WriteFile(picked.filePath(name), "x");
    Pick(page, {"xa.hlib.zip"}, picked.path());
    QList<DN_FILE_STRUCT *> &records = installation.Window()->local_records;
    records[0]->status = RecordStatus::Installed;

    BoxAnswers boxes({QMessageBox::Cancel, QMessageBox::Yes});
    Pick(page, {"a.hlib.zip"}); // a part of the listed name counts as a match
    QCOMPARE(page->Rows(), 1);
    Pick(page, {"b.htc", "a.hlib.zip"});
    QCOMPARE(page->Rows(), 3);
    const QString question =
        "ZEFT: The selected component '" + picked.filePath("a.hlib.zip")
        + "' is already installed during this session. Press 'Yes' to install it again.";
    QCOMPARE(boxes.questions, QStringList({question, question}));
    records[1]->status = RecordStatus::Error;
    Pick(page, {"b.htc"});
    QCOMPARE(page->Rows(), 3);
}

void TestLocalPage::TurnsDownWhatIsNotSafe()
{
    Installation installation;
    const QString own = installation.Path("hardware/x/zeft_bsp_x.hlib.zip");
    WriteFile(own, "x"); // the component's directory goes before the file is read
    const QStringList paths = {"/tmp/zeft_bsp_.hlib.zip", "/tmp/..zip", "/tmp/hardware.cab", own};
    for (const QString &path : paths) {
        installation.Window()->AddToLocalInstall(path);
        QCOMPARE(installation.Log().last(), "File can't be installed safely: " + path);
    }
    QCOMPARE(PageOf(installation)->Rows(), 0);
    QVERIFY(installation.Window()->local_records.isEmpty());
    QVERIFY(installation.Window()->delete_queue.isEmpty());
}

QTEST_MAIN(TestLocalPage)
#include "test_local_page.moc"
