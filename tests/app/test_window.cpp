#include "app/datasingleton.h"
#include "app/mainwindow_helper.h"
#include "support/installation.h"
#include "support/silentconsole.h"
#include "transfer/filedownloader.h"

#include <QBoxLayout>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QTextBlock>
#include <QtTest>

Q_DECLARE_METATYPE(QMessageBox::StandardButton)

class TestWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { SilentConsole::Start(); }
    void cleanup() { QCOMPARE(SilentConsole::Take().join('\n'), QString()); }

    void LaysOutTheWidgets();
    void StartsUp();
    void ColorsTheNewLineAlone();
    void FlipsThePauseButton();
    void AsksBeforeItCloses_data();
    void AsksBeforeItCloses();
    void GoesWithItsTransfers();
};

namespace {

const QString kInstalling =
    "ZEFT: Some components are installing or under deletion. It is recommended not to close the "
    "application at this point of time. Press 'Yes' if you still needs to close the application.";
const QString kDownloading =
    "ZEFT: Some components are downloading. Press 'Yes' to close the application anyway.";

QColor ColorOf(const QTextBlock &block)
{
    return block.begin().fragment().charFormat().foreground().color();
}

QProcess *Sleeper()
{
    auto *process = new QProcess;
    process->start("sleep", {"60"});
    process->waitForStarted();
    return process;
}

} // namespace

void TestWindow::LaysOutTheWidgets()
{
    Installation installation;
    const MainWindow *window = installation.Window();
    QCOMPARE(window->objectName() + "/" + window->windowTitle(),
             QString("MainWindow/ZEFT Updater"));
    QVERIFY(!window->windowIcon().pixmap(32).isNull());
    const auto *rows = qobject_cast<QBoxLayout *>(window->centralWidget()->layout());
    const auto *work = qobject_cast<QBoxLayout *>(rows->itemAt(0)->layout());
    QCOMPARE(QList<int>({rows->stretch(0), rows->stretch(1), work->stretch(0), work->stretch(1)}),
             QList<int>({6, 2, 3, 6}));

    const QStringList names = {"tree_wgt", "msgs", "pb_help", "pb_pause"};
    QStringList tab_order;
    const QWidget *widget = installation.Find<QWidget>("tree_wgt");
    for (; tab_order.size() < names.size(); widget = widget->nextInFocusChain()) {
        if (names.contains(widget->objectName()))
            tab_order.append(widget->objectName());
    }
    QCOMPARE(tab_order, names);
}

void TestWindow::StartsUp()
{
    Installation installation;
    WriteFile(installation.Download("hwd_doc.zip"), "x");
    WriteFile(installation.Download("hwd_doc/x.htm"), "x");
    WriteFile(installation.Download("a.zip.dnl"), "x");
    installation.Restart();

    QCOMPARE(
        QDir(installation.Path("downloads")).entryList(QDir::NoDotAndDotDot | QDir::AllEntries),
        QStringList("a.zip.dnl"));
    QCOMPARE(installation.Log(),
             QStringList({"Program started. Adjust proxy settings and press 'Connect' button from "
                          "'Manage Connections' to proceed.",
                          "Downloads directory " + installation.Path("downloads")}));
    DataSingleton::Initialize(nullptr, "/elsewhere");
    QCOMPARE(DataSingleton::Inst()->InstalledPath(), installation.Path(""));
    QVERIFY(!QFile::exists("/elsewhere"));
}

void TestWindow::ColorsTheNewLineAlone()
{
    Installation installation;
    auto *msgs = installation.Find<QPlainTextEdit>("msgs");
    msgs->clear();
    QCOMPARE(msgs->maximumBlockCount(), 1000000);
    msgs->setMaximumBlockCount(6); // the oldest line drops out at the end
    const QList<QColor> colors = {Qt::black, Qt::blue, QColor(255, 100, 0), Qt::red, Qt::black};
    for (int pass = 0; pass < 2; ++pass) {
        for (int level = 0; level < colors.size(); ++level)
            DataSingleton::Inst()->AddMsg("line", level);
        DataSingleton::Inst()->AddMsg("", 3);
    }
    QCOMPARE(msgs->blockCount(), 6);
    for (int back = 0; back < 6; ++back) {
        const QTextBlock line = msgs->document()->findBlockByNumber(5 - back);
        QCOMPARE(ColorOf(line), colors[(9 - back) % 5]);
        QVERIFY(QRegularExpression("^> \\d\\d:\\d\\d:\\d\\d:\\d{3}: line$")
                    .match(line.text())
                    .hasMatch());
    }
}

void TestWindow::FlipsThePauseButton()
{
    Installation installation;
    auto *pause = installation.Find<QPushButton>("pb_pause");
    QVERIFY(!pause->isEnabled());
    QCOMPARE(pause->text(), QString(" Pause Downloads "));
    pause->setEnabled(true);
    pause->click();
    QCOMPARE(pause->text(), QString(" Resume Downloads "));
    pause->click();
    QCOMPARE(pause->text(), QString(" Pause Downloads "));
}

void TestWindow::AsksBeforeItCloses_data()
{
    using Answers = QList<QMessageBox::StandardButton>;
    const auto yes = QMessageBox::Yes;
    const auto cancel = QMessageBox::Cancel;
    QTest::addColumn<bool>("in_work");
    QTest::addColumn<QList<int>>("statuses");
    QTest::addColumn<Answers>("answers");
    QTest::addColumn<QStringList>("questions");
    QTest::addColumn<bool>("closes");
    QTest::newRow("idle") << false << QList<int>{-1, 0, 1, 2, 7} << Answers() << QStringList()
                          << true;
    QTest::newRow("an installation, Cancel")
        << true << QList<int>{3} << Answers{cancel} << QStringList(kInstalling) << false;
    QTest::newRow("two downloads, Yes and Cancel")
        << false << QList<int>{3, 1, 4} << Answers{yes, cancel}
        << QStringList{kDownloading, kDownloading} << false;
    QTest::newRow("all, Yes") << true << QList<int>{4, 3} << Answers{yes, yes, yes}
                              << QStringList{kInstalling, kDownloading, kDownloading} << true;
}

void TestWindow::AsksBeforeItCloses()
{
    QFETCH(const bool, in_work);
    QFETCH(const QList<int>, statuses);
    QFETCH(const QList<QMessageBox::StandardButton>, answers);
    QFETCH(const bool, closes);
    Installation installation;
    MainWindow *window = installation.Window();
    for (const int status : statuses) {
        window->records.append(new DN_FILE_STRUCT);
        window->records.last()->status = status;
    }
    auto *local = new DN_FILE_STRUCT; // in work by all three stages; it asks no question of its own
    local->file_name = "local";
    local->status = RecordStatus::Downloading;
    window->local_records.append(local);
    const QList<QProcess **> processes = {&window->install_process, &window->post_install_process,
                                          &window->delete_process};
    if (in_work) {
        for (auto *queue :
             {&window->install_queue, &window->post_install_queue, &window->delete_queue})
            queue->append(local);
        for (QProcess **process : processes)
            *process = Sleeper();
    }
    WriteFile(installation.Download("local"), "x");
    WriteFile(installation.Download("hwd_doc.zip"), "x");

    BoxAnswers boxes(answers);
    QCOMPARE(window->close(), closes);
    QTEST(boxes.questions, "questions");
    QCOMPARE(window->isVisible(), !closes);
    QCOMPARE(QFile::exists(installation.Download("hwd_doc.zip")), !closes);
    if (!in_work)
        return;
    for (QProcess **process : processes)
        QCOMPARE((*process)->waitForFinished(closes ? 1000 : 10), closes);
    QVERIFY(QFile::exists(installation.Download("local")));
}

void TestWindow::GoesWithItsTransfers()
{
    Installation installation;
    auto *window = new MainWindow(nullptr);
    DN_FILE_STRUCT record;
    record.file_name = "a.zip";
    window->repo_url = "https://localhost:9";
    window->AddToDownload(&record);
    window->ProcessDownload();
    QVERIFY(record.downloader);
    delete window;
}

QTEST_MAIN(TestWindow)
#include "test_window.moc"
