#include "app/mainwindow_helper.h"
#include "support/installation.h"
#include "support/nginxserver.h"
#include "support/repository.h"
#include "support/silentconsole.h"

#include <QProcess>
#include <QPushButton>
#include <QtTest>

#include <csignal>

/// The component "t" is cancelled in each state, while "o" and "p" go their way.
class TestCancelling : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup() { QCOMPARE(SilentConsole::Take().join('\n'), QString()); }

    void CancelsADownload_data();
    void CancelsADownload();
    void CancelsWhatWaitsForItsDeletion();
    void CancelsAnInstallation_data();
    void CancelsAnInstallation();
    void EndsAScriptWithAllItsProcesses();
    void DeletesAComponentBeforeAnyRecordInstallsIt();

private:
    QString ArchivePath(const QString &stem) const;
    /// Makes a catalogue that finds these components complete in the downloads directory, so that
    /// each waits for its deletion and installation.
    void Queue(Installation &installation, const QStringList &stems);

    QTemporaryDir m_site;
    NginxServer m_server{m_site.path(), 300000};
    Repository m_repository{m_site.path()};
};

namespace {

const QString kDir = "core/version_latest";
const char kEndlessScript[] = "#!/bin/sh\nsleep 600 &\necho $! >grandchild\necho $$ "
                              ">child.part\nmv child.part child\nsleep 600\n";

bool IsAlive(const QByteArray &pid)
{
    const QByteArray state = ReadFile("/proc/" + pid.trimmed() + "/stat");
    return !state.isEmpty() && !state.contains(") Z ");
}

/// True once "t" has gone from the disk and "o" is installed.
bool EndsWell(Installation &installation)
{
    const auto *cancelled = installation.Record("t.zip");
    return installation.Work([&] {
        return cancelled->status == RecordStatus::NotInstalled
               && installation.Record("o.zip")->status == RecordStatus::Installed;
    }) && !QFile::exists(installation.Path("t"))
           && !QFile::exists(installation.Download("t.zip"))
           && ReadFile(installation.Path("o/version.info")) == "build:2024.05.01"
           && !QFile::exists(installation.Path("o/old"));
}

} // namespace

void TestCancelling::initTestCase()
{
    SilentConsole::Start();
    QVERIFY2(m_server.Start(), qPrintable(m_server.Errors()));
    for (const char *stem : {"t", "o", "p"}) {
        Files files = {{QString(stem) + "/version.info", "build:2024.05.01"}};
        if (*stem != 'p')
            files.insert(QString(stem) + "/zeft_install.sh",
                         *stem == 't' ? kEndlessScript : "#!/bin/sh\n");
        QProcess noise; // what no packing makes small
        noise.start("openssl", {"rand", "1000000"});
        QVERIFY(noise.waitForFinished());
        files.insert(QString(stem) + "/noise", noise.readAll());
        m_repository.Add(kDir, QString(stem) + ".zip", files);
    }
    QVERIFY(m_repository.Publish());
}

QString TestCancelling::ArchivePath(const QString &stem) const
{
    return m_repository.ArchivePath(kDir, stem + ".zip");
}

void TestCancelling::Queue(Installation &installation, const QStringList &stems)
{
    MainWindow *window = installation.Window();
    for (const QString &stem : stems) {
        QFile::copy(ArchivePath(stem), installation.Download(stem + ".zip"));
        WriteFile(installation.Path(stem + "/old"), "old");
        window->fversions_lines +=
            QString(m_repository.file_list).split("\r\n").filter('#' + stem + ".zip");
    }
    window->MakeRecords();
    window->AddTreeArchItems();
}

void TestCancelling::CancelsADownload_data()
{
    QTest::addColumn<QString>("queue"); // the first two transfer
    QTest::addColumn<bool>("installed");
    QTest::newRow("Downloading, the first") << "top" << false;
    QTest::newRow("Downloading an update") << "otp" << true;
    QTest::newRow("Download Pending") << "opt" << true;
}

void TestCancelling::CancelsADownload()
{
    QFETCH(const QString, queue);
    QFETCH(const bool, installed);
    Installation installation;
    if (installed)
        WriteFile(installation.Path("t/version.info"), "build:2023.05.01");
    installation.Connect(m_server.Url());
    QVERIFY(
        installation.Work([&] { return installation.Find<QPushButton>("pb_pause")->isEnabled(); }));
    MainWindow *window = installation.Window();
    DN_FILE_STRUCT *record = installation.Record("t.zip");
    for (const QChar stem : queue)
        window->AddToDownload(installation.Record(stem + QString(".zip")));
    if (queue.endsWith('t'))
        WriteFile(installation.Download("t.zip.dnl"), "of an earlier run");
    QVERIFY(installation.Work([&] { return installation.Record("o.zip")->progress > 10; }));
    QVERIFY(QFile::exists(installation.Download("t.zip.dnl")));
    const FileDownloader *other = installation.Record("o.zip")->downloader;

    window->CancelDownloadInstall(record);
    QCOMPARE(record->status,
             int(installed ? RecordStatus::UpdateAvailable : RecordStatus::NotInstalled));
    QVERIFY(!record->downloader && !QFile::exists(installation.Download("t.zip.dnl")));
    QCOMPARE(QFile::exists(installation.Path("t/version.info")), installed);
    QCOMPARE(window->download_queue,
             QList<DN_FILE_STRUCT *>({installation.Record("o.zip"), installation.Record("p.zip")}));
    window->Timer500();
    QVERIFY(installation.Record("o.zip")->downloader == other
            && installation.Record("p.zip")->downloader);
}

void TestCancelling::CancelsWhatWaitsForItsDeletion()
{
    Installation installation(false);
    Queue(installation, {"o", "t"});
    const DN_FILE_STRUCT *record = installation.Record("t.zip");
    installation.Window()->CancelDownloadInstall(installation.Record("t.zip"));
    QCOMPARE(record->status, int(RecordStatus::InstallPending));
    QVERIFY(EndsWell(installation));
}

void TestCancelling::CancelsAnInstallation_data()
{
    QTest::addColumn<QStringList>("stems"); // the first is at work and frozen
    QTest::addColumn<bool>("script");
    QTest::newRow("Install Pending behind another") << QStringList{"o", "t"} << false;
    QTest::newRow("Installing, extraction") << QStringList{"t", "o"} << false;
    QTest::newRow("Install Pending, its script waits") << QStringList{"o", "t"} << true;
}

void TestCancelling::CancelsAnInstallation()
{
    QFETCH(const QStringList, stems);
    QFETCH(const bool, script);
    Installation installation(false);
    MainWindow *window = installation.Window();
    QProcess *&process = script ? window->post_install_process : window->install_process;
    const auto &queue = script ? window->post_install_queue : window->install_queue;
    Queue(installation, stems);
    DN_FILE_STRUCT *record = installation.Record("t.zip");
    QVERIFY(installation.Work(
        [&] { return process && queue.first()->file_name == stems[0] + ".zip"; }));
    const QByteArray pid = QByteArray::number(process->processId());
    QCOMPARE(kill(pid.toInt(), SIGSTOP), 0);
    const bool waits = stems[0] != "t";
    if (waits) {
        QVERIFY(
            installation.Work([&] { return window->delete_queue.isEmpty() && queue.size() == 2; }));
        QCOMPARE(record->status, int(RecordStatus::InstallPending));
    } else {
        WriteFile(installation.Path("t/half"), "what it may have written");
    }
    window->CancelDownloadInstall(record);
    QCOMPARE(record->status, int(RecordStatus::Deleting));
    if (waits)
        QCOMPARE(kill(pid.toInt(), SIGCONT), 0);
    else
        QTRY_VERIFY(!IsAlive(pid));
    QVERIFY(EndsWell(installation));
}

void TestCancelling::EndsAScriptWithAllItsProcesses()
{
    for (const bool closes : {false, true}) {
        Installation installation(false);
        MainWindow *window = installation.Window();
        Queue(installation, {"t", "o"});
        QVERIFY(installation.Work([&] { return QFile::exists(installation.Path("t/child")); }));
        const QByteArrayList pids = {QByteArray::number(window->post_install_process->processId()),
                                     ReadFile(installation.Path("t/child")),
                                     ReadFile(installation.Path("t/grandchild"))};
        for (const QByteArray &pid : pids)
            QVERIFY(IsAlive(pid));
        BoxAnswers boxes({QMessageBox::Yes});
        if (closes)
            QVERIFY(window->close());
        else
            window->CancelDownloadInstall(installation.Record("t.zip"));
        for (const QByteArray &pid : pids)
            QTRY_VERIFY2(!IsAlive(pid), pid);
        QVERIFY(closes || EndsWell(installation));
    }
}

void TestCancelling::DeletesAComponentBeforeAnyRecordInstallsIt()
{
    Installation installation(false);
    MainWindow *window = installation.Window();
    Queue(installation, {"p"});
    window->AddToLocalInstall(ArchivePath("p")); // the same component once more
    QVERIFY(installation.Work([&] {
        return window->local_records[0]->status == RecordStatus::Installed
               && window->records[0]->status == RecordStatus::Installed;
    }));
    const QStringList log = installation.Log();
    const int queued = log.indexOf("Installing file p.zip...");
    QVERIFY(log.lastIndexOf(QRegularExpression("^Deleted.*"))
            < log.indexOf("Installing file p.zip...", queued + 1));
    QVERIFY(QFile::exists(installation.Path("p/version.info")) && QFile::exists(ArchivePath("p")));
}

QTEST_MAIN(TestCancelling)
#include "test_cancelling.moc"
