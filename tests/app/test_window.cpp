#include "app/datasingleton.h"
#include "app/installation_lock.h"
#include "app/root_directory.h"
#include "support/installation.h"
#include "support/test.h"
#include "transfer/filedownloader.h"

class TestWindow : public QuietTest
{
    Q_OBJECT

private slots:
    void FindsTheRoot();
    void StartsUp();
    void LeavesTheWorkToAnotherUpdater();
    void ColorsTheNewLineAlone();
    void AsksBeforeItCloses();
};

namespace {

const QString kInstalling =
    "ZEFT: Some components are installing or under deletion. It is recommended not to close the "
    "application at this point of time. Press 'Yes' if you still needs to close the application.";
const QString kDownloading =
    "ZEFT: Some components are downloading. Press 'Yes' to close the application anyway.";

} // namespace

void TestWindow::FindsTheRoot()
{
    const std::pair<QStringList, QString> rows[] = {
        {{"/opt/zeft/bin/updater"}, "/opt/zeft"},    {{"--#/srv/zeft"}, "/opt/zeft"},
        {{"#/a", "-", " ", "x", "-#/b"}, "/b"}, // the last one counts
        {{"  #/srv/my zeft \t"}, "/srv/my zeft"},    {{"#/a", "#", "-#"}, "/a"},
        {{"#/srv//x/../zeft/"}, "/srv/zeft"},        {{"#/"}, ""},
        {{"#./sub/"}, QDir::currentPath() + "/sub"},
    };
    for (const auto &[arguments, root] : rows)
        QCOMPARE(RootDirectory(arguments, "/opt/zeft/bin"), root);
    QCOMPARE(RootDirectory({}, "/bin"), QString());

    const QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkpath("there/inside") && QDir(dir.path()).mkdir("there/root"));
    QFile::link("there/inside", dir.filePath("link"));
    QCOMPARE(RootDirectory({'#' + dir.filePath("link/../root")}, "/bin"),
             dir.filePath("there/root"));
}

void TestWindow::StartsUp()
{
    Installation installation;
    WriteFile(installation.Download("hwd_doc.zip"), "x");
    WriteFile(installation.Download("hwd_doc/x.htm"), "x");
    WriteFile(installation.Download("a.zip.dnl"), "x");
    installation.Restart();
    const QString downloads = installation.Path("downloads");
    QCOMPARE(QDir(downloads).entryList(QDir::NoDotAndDotDot | QDir::AllEntries),
             QStringList("a.zip.dnl"));
    QCOMPARE(installation.Log(),
             QStringList({"Program started. Adjust proxy settings and press 'Connect' button from "
                          "'Manage Connections' to proceed.",
                          "Downloads directory " + downloads}));
    auto *window = new MainWindow(nullptr);
    window->download_queue.append(new DN_FILE_STRUCT);
    delete window->download_queue.first();
    delete window; // looks at no record
    QVERIFY(QSettings(QSettings::UserScope, "x").fileName().startsWith("/dev/null/"));
    DataSingleton::Initialize(nullptr, "/elsewhere");
    QCOMPARE(DataSingleton::Inst()->InstalledPath(), installation.Path(""));
    QVERIFY(!QFile::exists("/elsewhere"));

    DataSingleton::Inst()->installed_path = installation.Path("none");
    installation.Window()->TellWhatHinders();
    QCOMPARE(installation.Log().last(), "Directory " + installation.Path("none")
                                            + "/ can't be written: No such file or directory.");
}

void TestWindow::LeavesTheWorkToAnotherUpdater()
{
    Installation installation(false);
    MainWindow *window = installation.Window();
    const QString description = installation.Download("hwd_doc/x.htm");
    WriteFile(description, "x");
    QProcess other; // the real program, which takes the lock before it deletes descriptions
    other.start(ZEFT_UPDATER, {"#" + installation.Path("")});
    QTRY_VERIFY_WITH_TIMEOUT(!QFile::exists(installation.Download("hwd_doc")), 30000);
    WriteFile(description, "x");
    WriteFile(installation.Download("a.zip"), "x");

    InstallationLock lock(installation.Path("downloads"));
    window->WorkUnder(&lock);
    window->Initialize();
    QCOMPARE(installation.Log().last(),
             QString("Another updater works on this installation and must be closed first. Until "
                     "then nothing is downloaded, installed or deleted here."));
    window->AcceptFileList("//zeft_upt_fversions.info\r\nx\r\n");
    QVERIFY(window->base_downloader->m_url.endsWith("/zeft_bsps.info")); // not the descriptions
    delete std::exchange(window->base_downloader, nullptr);
    window->fversions_lines = QStringList("8#a.zip#core/version_latest#T#2#1");
    window->MakeRecords();
    window->AddTreeArchItems();
    window->AddToDownload(window->records[0]);
    window->AddToDelete(window->records[0]);
    window->Timer500();
    QVERIFY(!window->records[0]->downloader && !window->delete_process);
    QVERIFY(QFile::exists(description) && QFile::exists(installation.Download("a.zip")));
    other.kill();
    QVERIFY(other.waitForFinished());
    window->Timer500();
    QVERIFY(window->records[0]->downloader && window->delete_process);
}

void TestWindow::ColorsTheNewLineAlone()
{
    Installation installation;
    auto *msgs = installation.Find<QPlainTextEdit>("msgs");
    msgs->clear();
    msgs->setMaximumBlockCount(6); // the oldest line drops out at the end
    const int levels[] = {0, LogLevel::Information, LogLevel::Warning, LogLevel::Error, 4};
    const QList<QColor> colors = {Qt::black, Qt::blue, QColor(255, 100, 0), Qt::red, Qt::black};
    for (int line = 0; line < 10; ++line)
        DataSingleton::Inst()->AddMsg("line", levels[line % 5]);
    DataSingleton::Inst()->AddMsg("", LogLevel::Error);
    QCOMPARE(installation.Log(), QVector<QString>(6, "line").toList());
    for (int line = 0; line < 6; ++line) {
        const QTextBlock block = msgs->document()->findBlockByNumber(line);
        const QColor color = block.begin().fragment().charFormat().foreground().color();
        QCOMPARE(color, colors[(line + 4) % 5]);
    }
}

void TestWindow::AsksBeforeItCloses()
{
    using namespace RecordStatus;
    using Answers = QList<QMessageBox::StandardButton>;
    // An "Installing" among the statuses has all stages at work.
    const auto row = [](const QString &name, const QList<int> &statuses, const Answers &answers,
                        const QStringList &questions, bool closes) {
        const Installation installation(false);
        MainWindow *window = installation.Window();
        for (const int status : statuses) {
            window->records.append(new DN_FILE_STRUCT);
            window->records.last()->status = status;
        }
        window->local_records.append(new DN_FILE_STRUCT); // it asks no question of its own
        window->local_records.last()->status = Downloading;
        QList<QProcess **> processes;
        if (statuses.contains(Installing))
            processes = {&window->install_process, &window->post_install_process,
                         &window->delete_process};
        for (QProcess **process : processes) {
            *process = new QProcess;
            (*process)->start("sleep", {"600"});
            QVERIFY((*process)->waitForStarted());
        }
        const QString descriptions = installation.Download("hwd_doc.zip");
        WriteFile(descriptions, "x");
        window->bsps_lines = QStringList("8#0#Board####");
        const auto packages = [&] { return window->tree_item_bsps->child(0)->childCount(); };

        const BoxAnswers boxes(answers);
        bool is_hidden_first = false;
        QObject::connect(window->windowHandle(), &QWindow::visibleChanged, &boxes.watch,
                         [&] { is_hidden_first = QFile::exists(descriptions); });
        QMetaObject::invokeMethod(window, "AddTreeArchItems", Qt::QueuedConnection);
        Row(name, window->close(), closes);
        Row(name, is_hidden_first, closes);
        // No box waits for the tree, but the tree for the boxes.
        Row(name, packages(), 0);
        Row(name, QTest::qWaitFor([&] { return packages() == (closes ? 0 : 1); }), true);
        Row(name, boxes.questions, questions);
        Row(name, window->isVisible(), !closes);
        Row(name, QFile::exists(descriptions), !closes);
        for (QProcess **process : processes)
            Row(name, (*process)->waitForFinished(closes ? 30000 : 10), closes);
    };
    const auto yes = QMessageBox::Yes;
    const auto cancel = QMessageBox::Cancel;
    const QString ask = kDownloading;
    row("idle", {Error, Unknown, NotInstalled, UpdateAvailable, Installed}, {}, {}, true);
    row("an installation, Cancel", {Installing, DownloadPending}, {cancel}, {kInstalling}, false);
    row("two downloads, Yes and Cancel", {DownloadPending, NotInstalled, Downloading},
        {yes, cancel}, {ask, ask}, false);
    row("all, Yes", {Installing, Downloading, DownloadPending}, {yes, yes, yes},
        {kInstalling, ask, ask}, true);
}

ZEFT_TEST(TestWindow)
#include "test_window.moc"
