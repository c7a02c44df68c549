#include "support/installation.h"
#include "support/nginx_server.h"
#include "support/repository.h"
#include "support/test.h"

#include <csignal>

/// What the first record of the queue has come to when the press comes.
enum Stage { Queued, Deleted, Unpacks, RunsScript };
Q_DECLARE_METATYPE(Stage)

/// The component "t" is cancelled or uninstalled in each state, while "o" and "p" go their way.
class TestCancelling : public QuietTest
{
    Q_OBJECT

public:
    TestCancelling();

private slots:
    void CancelsADownload();
    void EndsAnInstallation_data();
    void EndsAnInstallation();
    void KeepsTheRunsOfOneComponentApart();

private:
    QString ArchivePath(const QString &stem) const;
    /// Makes a catalogue that finds these components complete in the downloads directory, so that
    /// each waits for its deletion and installation.
    void Queue(Installation &installation, const QString &stems);

    QTemporaryDir m_site;
    NginxServer m_server{m_site.path(), 350000};
    Repository m_repository{m_site.path()};
};

namespace {

const QString kDir = "core/version_latest";
const QString kKind = ".tar.bz2"; // it takes a while to unpack
const int kNoiseSize = 2000000;   // a few blocks, so that some are left when the first file appears
const char kEndlessScript[] = "#!/bin/sh\n[ -e ../brief ] && exit\nsleep 600 &\n"
                              "echo $$ $! >child.part\nmv child.part child\nsleep 600\n";

bool IsAlive(const QByteArray &pid)
{
    const QByteArray state = ReadFile("/proc/" + pid + "/stat");
    return !state.isEmpty() && !state.contains(") Z ");
}

QByteArray Pid(const QProcess *process)
{
    return QByteArray::number(process->processId());
}

/// Beats until a run of this stage works on a record, and stops it when it has made this file. The
/// event loop, which might end the run, doesn't turn in between.
bool Freeze(Installation &installation, QProcess *const &process,
            const QList<DN_FILE_STRUCT *> &queue, const DN_FILE_STRUCT *record, const char *file)
{
    const auto runs = [&] { return process && queue.first() == record; };
    const QString path = record->install_root + "/" + record->install_dir + "/" + file;
    if (!installation.Work(runs))
        return false;
    for (int wait = 0; wait < 60000 && !QFile::exists(path); ++wait)
        QThread::msleep(1);
    // On a busy machine the start is not yet known to have succeeded.
    return process->state() != QProcess::NotRunning && kill(Pid(process).toInt(), SIGSTOP) == 0;
}

/// Brings the first record to a stage, and frozen there, and the others as far as they get.
bool Reach(Stage stage, Installation &installation)
{
    MainWindow *window = installation.Window();
    const DN_FILE_STRUCT *first = window->records[0];
    const auto &queue = window->install_queue;
    const auto &scripts = window->post_install_queue;
    switch (stage) {
    case Queued:
        return true;
    case Deleted:
        return installation.Work([&] { return window->delete_queue.first() != first; });
    case Unpacks:
        return Freeze(installation, window->install_process, queue, first, "noise")
               && installation.Work([&] { return window->delete_queue.isEmpty(); });
    case RunsScript:
        return Freeze(installation, window->post_install_process, scripts, first, "child")
               && installation.Work([&] { return scripts.size() == 2; });
    }
    return false;
}

} // namespace

TestCancelling::TestCancelling()
{
    for (const QString stem : {"t", "o", "p"}) {
        Files files = {{stem + ".tar/version.info", "build:2024.05.01"},
                       {stem + ".tar/noise", RandomBytes(kNoiseSize)}};
        if (stem != "p")
            files.insert(stem + ".tar/zeft_install.sh",
                         stem == "t" ? kEndlessScript : "#!/bin/sh\n>child\nsleep 1\n");
        m_repository.Add(kDir, stem + kKind, files);
    }
    m_repository.Publish();
}

QString TestCancelling::ArchivePath(const QString &stem) const
{
    return m_repository.ArchivePath(kDir, stem + kKind);
}

void TestCancelling::Queue(Installation &installation, const QString &stems)
{
    MainWindow *window = installation.Window();
    for (const QString stem : stems) {
        QFile::copy(ArchivePath(stem), installation.Download(stem + kKind));
        WriteFile(installation.Path(stem + ".tar/old"), "old");
        window->fversions_lines +=
            QString(m_repository.file_list).split("\r\n").filter('#' + stem + kKind);
    }
    window->MakeRecords();
    window->AddTreeArchItems();
}

void TestCancelling::CancelsADownload()
{
    for (const QString queue : {"otp", "opt"}) { // the first two transfer
        Installation installation;
        WriteFile(installation.Path("t.tar/version.info"), "build:2023.05.01");
        QVERIFY(installation.Connects(m_server.Url()));
        MainWindow *window = installation.Window();
        DN_FILE_STRUCT *record = installation.Record("t" + kKind);
        DN_FILE_STRUCT *other = installation.Record("o" + kKind);
        for (const QChar stem : queue)
            window->AddToDownload(installation.Record(stem + kKind));
        const QString partial = installation.Download("t" + kKind + ".dnl");
        if (queue.endsWith('t'))
            WriteFile(partial, "of an earlier run");
        QVERIFY(installation.Work([&] { return other->progress > 10; }));
        QVERIFY2(QFile::exists(partial), qPrintable(queue));
        const FileDownloader *transfer = other->downloader;

        installation.Press("pb_install", record);
        QCOMPARE(record->status, int(RecordStatus::UpdateAvailable));
        QVERIFY2(!record->downloader && !QFile::exists(partial), qPrintable(queue));
        QVERIFY(QFile::exists(installation.Path("t.tar/version.info")));
        DN_FILE_STRUCT *last = installation.Record("p" + kKind);
        QCOMPARE(window->download_queue, QList<DN_FILE_STRUCT *>({other, last}));
        window->Timer500();
        QVERIFY2(other->downloader == transfer && last->downloader, qPrintable(queue));
    }
}

void TestCancelling::EndsAnInstallation_data()
{
    const Table<QString, Stage, QString, int, bool> row("queue", "stage", "button", "status",
                                                        "installs");
    const char cancel[] = "pb_install";
    const char uninstall[] = "pb_delete";
    const int pending = RecordStatus::InstallPending;
    const int deleting = RecordStatus::Deleting;
    row("waits for its deletion", "ot", Queued, cancel, pending, false);
    row("its turn has come", "to", Deleted, cancel, deleting, false);
    row("waits for another", "ot", Unpacks, cancel, deleting, false);
    row("unpacks", "to", Unpacks, cancel, deleting, false);
    row("runs its script", "to", RunsScript, cancel, deleting, false);
    row("unpacks, closed", "to", Unpacks, "", RecordStatus::Installing, false);
    row("runs its script, closed", "to", RunsScript, "", RecordStatus::Installing, false);
    row("uninstalled before its deletion", "ot", Queued, uninstall, deleting, true);
    row("uninstalled at its turn", "to", Deleted, uninstall, deleting, true);
    row("uninstalled before its script", "ot", RunsScript, uninstall, deleting, false);
}

void TestCancelling::EndsAnInstallation()
{
    QFETCH(const QString, queue);
    QFETCH(const Stage, stage);    // of the first
    QFETCH(const QString, button); // none: the window is closed
    QFETCH(const int, status);     // after the press
    QFETCH(const bool, installs);
    Installation installation(false);
    MainWindow *window = installation.Window();
    Queue(installation, queue);
    DN_FILE_STRUCT *record = installation.Record("t" + kKind);
    const DN_FILE_STRUCT *other = installation.Record("o" + kKind);
    QVERIFY(Reach(stage, installation));
    QProcess *run = stage == RunsScript ? window->post_install_process : window->install_process;
    const bool is_own = queue.startsWith('t') && run;
    const QByteArray run_pid = run ? Pid(run) : QByteArray();
    window->UpdateActivityList();
    QCOMPARE(installation.Find<QTableWidget>("table_activity")->rowCount(), 2);
    QByteArrayList pids = ReadFile(installation.Path("t.tar/child")).simplified().split(' ');
    pids.removeAll("");
    pids += is_own ? QByteArrayList{run_pid} : QByteArrayList();
    for (const QByteArray &pid : qAsConst(pids))
        QVERIFY2(IsAlive(pid), pid);

    BoxAnswers boxes({QMessageBox::Yes});
    if (button.isEmpty())
        QVERIFY(window->close());
    else
        installation.Press(button, record);
    QCOMPARE(record->status, status);
    for (const QByteArray &pid : qAsConst(pids))
        QTRY_VERIFY2_WITH_TIMEOUT(!IsAlive(pid), pid, 2000);
    if (button.isEmpty()) {
        QTRY_VERIFY(run && run->state() == QProcess::NotRunning);
        const QStringList log = installation.Log();
        window->Timer500();
        window->AddTreeArchItems();
        QCOMPARE(installation.Log(), log);
        QCOMPARE(ReadFile(installation.Download("t" + kKind)),
                 stage == Unpacks ? ReadFile(ArchivePath("t")) : QByteArray());
        return;
    }
    if (run && !is_own)
        QVERIFY(IsAlive(run_pid) && kill(run_pid.toInt(), SIGCONT) == 0);

    WriteFile(installation.Path("brief"), "");
    QVERIFY(installation.Work([&] {
        return window->install_queue.isEmpty() && window->post_install_queue.isEmpty()
               && window->delete_queue.isEmpty();
    }));
    // An uninstalled one that waits goes on, its script even without its directory.
    const bool cancelled = button == "pb_install";
    QCOMPARE(record->status, int(cancelled ? RecordStatus::NotInstalled : RecordStatus::Installed));
    QCOMPARE(QDir(installation.Path("t.tar")).exists(), installs);
    QVERIFY(!QFile::exists(installation.Path("t.tar/old")));
    QVERIFY(!QFile::exists(installation.Download("t" + kKind)));
    QCOMPARE(other->status, int(RecordStatus::Installed));
    QCOMPARE(ReadFile(installation.Path("o.tar/version.info")), QByteArray("build:2024.05.01"));
    QVERIFY(!QFile::exists(installation.Path("o.tar/old")));
}

/// The component is picked twice while its download runs.
void TestCancelling::KeepsTheRunsOfOneComponentApart()
{
    Installation installation;
    MainWindow *window = installation.Window();
    QVERIFY(installation.Connects(m_server.Url()));
    DN_FILE_STRUCT *record = installation.Record("p" + kKind);
    window->AddToDownload(record);
    QVERIFY(installation.Work([&] { return record->progress > 0; }));
    const int server = Pid(&m_server.m_process).toInt();
    kill(server, SIGSTOP); // so that the download doesn't end before the runs
    window->AddToLocalInstall(ArchivePath("p"));
    window->AddToLocalInstall(ArchivePath("p"));
    const DN_FILE_STRUCT *second = window->local_records[1];
    QVERIFY(Freeze(installation, window->install_process, window->install_queue, second, "noise"));
    QVERIFY(record->downloader && QFile::exists(installation.Download("p" + kKind + ".dnl")));
    QVERIFY(installation.Find<QProgressBar>("pbar_inst")->value() > 0);
    const QStringList log = installation.Log();
    QVERIFY(log.lastIndexOf(QRegularExpression("^Deleted.*"))
            < log.indexOf("Installing file p" + kKind + "..."));

    kill(server, SIGCONT);
    QVERIFY(installation.Work([&] { return window->delete_process; }));
    kill(Pid(window->install_process).toInt(), SIGCONT);
    QVERIFY(installation.Reaches(record, RecordStatus::Installed));
    QCOMPARE(second->status, int(RecordStatus::Installed));
    QVERIFY(ReadFile(installation.Path("p.tar/noise")) == RandomBytes(kNoiseSize));
    QVERIFY(QFile::exists(ArchivePath("p")));
}

ZEFT_TEST(TestCancelling)
#include "test_cancelling.moc"
