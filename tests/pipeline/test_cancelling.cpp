#include "app/mainwindow_helper.h"
#include "support/installation.h"
#include "support/nginxserver.h"
#include "support/repository.h"
#include "support/silentconsole.h"

#include <QProcess>
#include <QPushButton>
#include <QThread>
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
    void CancelsWhatWaitsForAnother();
    void CancelsAnExtraction();
    void CancelsWhatWaitsForItsScript();
    void EndsAScriptWithAllItsProcesses_data();
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
const QString kKind = ".tar.bz2"; // it takes a while to unpack
const char kEndlessScript[] = "#!/bin/sh\nsleep 600 &\necho $! >grandchild\necho $$ "
                              ">child.part\nmv child.part child\nsleep 600\n";

bool IsAlive(const QByteArray &pid)
{
    const QByteArray state = ReadFile("/proc/" + pid.trimmed() + "/stat");
    return !state.isEmpty() && !state.contains(") Z ");
}

/// Beats until a run of this stage works on a component, and stops it when it has made this file.
/// The event loop, which might end the run, doesn't turn in between.
bool Freeze(Installation &installation, QProcess *const &process,
            const QList<DN_FILE_STRUCT *> &queue, const QString &stem, const QString &file)
{
    const auto runs = [&] { return process && queue.first() == installation.Record(stem + kKind); };
    for (int beat = 0; beat < 5000 && !runs(); ++beat) {
        QTest::qWait(2);
        installation.Window()->Timer500();
    }
    for (int wait = 0; wait < 5000 && !QFile::exists(installation.Path(file)); ++wait)
        QThread::msleep(1);
    return runs() && process->state() == QProcess::Running
           && kill(static_cast<pid_t>(process->processId()), SIGSTOP) == 0;
}

/// True once "t" has gone from the disk and "o" is installed.
bool EndsWell(Installation &installation)
{
    const auto *cancelled = installation.Record("t" + kKind);
    return installation.Work([&] {
        return cancelled->status == RecordStatus::NotInstalled
               && installation.Record("o" + kKind)->status == RecordStatus::Installed;
    }) && !QFile::exists(installation.Path("t.tar"))
           && !QFile::exists(installation.Download("t" + kKind))
           && ReadFile(installation.Path("o.tar/version.info")) == "build:2024.05.01"
           && !QFile::exists(installation.Path("o.tar/old"));
}

} // namespace

void TestCancelling::initTestCase()
{
    SilentConsole::Start();
    QVERIFY2(m_server.Start(), qPrintable(m_server.Errors()));
    for (const char *stem : {"t", "o", "p"}) {
        Files files = {{QString(stem) + ".tar/version.info", "build:2024.05.01"}};
        if (*stem != 'p')
            files.insert(QString(stem) + ".tar/zeft_install.sh",
                         *stem == 't' ? kEndlessScript : "#!/bin/sh\n>began\nsleep 1\n");
        QProcess noise; // what no packing makes small
        noise.start("openssl", {"rand", "1500000"});
        QVERIFY(noise.waitForFinished());
        files.insert(QString(stem) + ".tar/noise", noise.readAll());
        m_repository.Add(kDir, stem + kKind, files);
    }
    QVERIFY(m_repository.Publish());
}

QString TestCancelling::ArchivePath(const QString &stem) const
{
    return m_repository.ArchivePath(kDir, stem + kKind);
}

void TestCancelling::Queue(Installation &installation, const QStringList &stems)
{
    MainWindow *window = installation.Window();
    for (const QString &stem : stems) {
        QFile::copy(ArchivePath(stem), installation.Download(stem + kKind));
        WriteFile(installation.Path(stem + ".tar/old"), "old");
        window->fversions_lines +=
            QString(m_repository.file_list).split("\r\n").filter('#' + stem + kKind);
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
        WriteFile(installation.Path("t.tar/version.info"), "build:2023.05.01");
    installation.Connect(m_server.Url());
    QVERIFY(
        installation.Work([&] { return installation.Find<QPushButton>("pb_pause")->isEnabled(); }));
    MainWindow *window = installation.Window();
    DN_FILE_STRUCT *record = installation.Record("t" + kKind);
    for (const QChar stem : queue)
        window->AddToDownload(installation.Record(stem + kKind));
    if (queue.endsWith('t'))
        WriteFile(installation.Download("t" + kKind + ".dnl"), "of an earlier run");
    QVERIFY(installation.Work([&] { return installation.Record("o" + kKind)->progress > 10; }));
    QVERIFY(QFile::exists(installation.Download("t" + kKind + ".dnl")));
    const FileDownloader *other = installation.Record("o" + kKind)->downloader;

    window->CancelDownloadInstall(record);
    QCOMPARE(record->status,
             int(installed ? RecordStatus::UpdateAvailable : RecordStatus::NotInstalled));
    QVERIFY(!record->downloader && !QFile::exists(installation.Download("t" + kKind + ".dnl")));
    QCOMPARE(QFile::exists(installation.Path("t.tar/version.info")), installed);
    QCOMPARE(window->download_queue, QList<DN_FILE_STRUCT *>({installation.Record("o" + kKind),
                                                              installation.Record("p" + kKind)}));
    window->Timer500();
    QVERIFY(installation.Record("o" + kKind)->downloader == other
            && installation.Record("p" + kKind)->downloader);
}

void TestCancelling::CancelsWhatWaitsForItsDeletion()
{
    Installation installation(false);
    Queue(installation, {"o", "t"});
    const DN_FILE_STRUCT *record = installation.Record("t" + kKind);
    installation.Window()->CancelDownloadInstall(installation.Record("t" + kKind));
    QCOMPARE(record->status, int(RecordStatus::InstallPending));
    QVERIFY(EndsWell(installation));
}

void TestCancelling::CancelsWhatWaitsForAnother()
{
    Installation installation(false);
    MainWindow *window = installation.Window();
    Queue(installation, {"o", "t"});
    DN_FILE_STRUCT *record = installation.Record("t" + kKind);
    QVERIFY(
        Freeze(installation, window->install_process, window->install_queue, "o", "o.tar/noise"));
    QVERIFY(installation.Work([&] { return window->delete_queue.isEmpty(); }));
    QCOMPARE(record->status, int(RecordStatus::InstallPending));
    QProcess *other = window->install_process;
    window->CancelDownloadInstall(record);
    QCOMPARE(record->status, int(RecordStatus::Deleting));
    QCOMPARE(window->install_process, other);
    kill(static_cast<pid_t>(other->processId()), SIGCONT);
    QVERIFY(EndsWell(installation));
}

void TestCancelling::CancelsAnExtraction()
{
    Installation installation(false);
    MainWindow *window = installation.Window();
    Queue(installation, {"t", "o"});
    QVERIFY(
        Freeze(installation, window->install_process, window->install_queue, "t", "t.tar/noise"));
    const QByteArray pid = QByteArray::number(window->install_process->processId());
    window->CancelDownloadInstall(installation.Record("t" + kKind));
    QCOMPARE(installation.Record("t" + kKind)->status, int(RecordStatus::Deleting));
    QTRY_VERIFY(!IsAlive(pid));
    QVERIFY(EndsWell(installation));
}

void TestCancelling::CancelsWhatWaitsForItsScript()
{
    Installation installation(false);
    MainWindow *window = installation.Window();
    Queue(installation, {"o", "t"});
    QVERIFY(Freeze(installation, window->post_install_process, window->post_install_queue, "o",
                   "o.tar/began"));
    QVERIFY(installation.Work([&] { return window->post_install_queue.size() == 2; }));
    window->CancelDownloadInstall(installation.Record("t" + kKind));
    QCOMPARE(installation.Record("t" + kKind)->status, int(RecordStatus::Deleting));
    kill(static_cast<pid_t>(window->post_install_process->processId()), SIGCONT);
    QVERIFY(EndsWell(installation));
}

void TestCancelling::EndsAScriptWithAllItsProcesses_data()
{
    QTest::addColumn<bool>("closes");
    QTest::newRow("Cancel") << false;
    QTest::newRow("the window closes") << true;
}

void TestCancelling::EndsAScriptWithAllItsProcesses()
{
    QFETCH(const bool, closes);
    Installation installation(false);
    MainWindow *window = installation.Window();
    Queue(installation, {"t", "o"});
    QVERIFY(installation.Work([&] { return QFile::exists(installation.Path("t.tar/child")); }));
    const QByteArrayList pids = {QByteArray::number(window->post_install_process->processId()),
                                 ReadFile(installation.Path("t.tar/child")),
                                 ReadFile(installation.Path("t.tar/grandchild"))};
    for (const QByteArray &pid : pids)
        QVERIFY(IsAlive(pid));
    BoxAnswers boxes({QMessageBox::Yes});
    if (closes)
        QVERIFY(window->close());
    else
        window->CancelDownloadInstall(installation.Record("t" + kKind));
    for (const QByteArray &pid : pids)
        QTRY_VERIFY2(!IsAlive(pid), pid);
    QVERIFY(closes || EndsWell(installation));
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
    const int queued = log.indexOf("Installing file p" + kKind + "...");
    QVERIFY(log.lastIndexOf(QRegularExpression("^Deleted.*"))
            < log.indexOf("Installing file p" + kKind + "...", queued + 1));
    QVERIFY(QFile::exists(installation.Path("p.tar/version.info"))
            && QFile::exists(ArchivePath("p")));
}

QTEST_MAIN(TestCancelling)
#include "test_cancelling.moc"
