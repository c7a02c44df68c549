#include "catalogue/endpoints.h"
#include "support/installation.h"
#include "support/nginx_server.h"
#include "support/repository.h"
#include "support/scripted_server.h"
#include "support/test.h"
#include "transfer/filedownloader.h"

class TestConnecting : public QuietTest
{
    Q_OBJECT

private slots:
    void FetchesTheCatalogue();
    void FailsAndConnectsAgain();
    void StopsDescriptionsWithoutAnEnd();
    void StopsUnpackingDescriptions();
    void TakesTheAlternateLink();

private:
    /// What was asked for since the last call, as "METHOD path status", the path below the site.
    QStringList Requests();

    QTemporaryDir m_site;
    NginxServer m_server{m_site.path()};
    int m_requestsSeen = 0;
};

namespace {
const QString kFailed = "Failed to connect to remote repository. ";
const QString kInvalid = "Remote repository connection failed. Invalid data received. Restart the "
                         "program and try again.";
} // namespace

QStringList TestConnecting::Requests()
{
    QStringList requests;
    for (const QString &line : m_server.AccessLog().mid(m_requestsSeen)) {
        const QStringList words = line.split(' ');
        requests.append(words[0] + words[1].section("/zeft", 1) + ' ' + words[2]);
    }
    m_requestsSeen += requests.size();
    return requests;
}

void TestConnecting::FetchesTheCatalogue()
{
    Repository repository(m_site.filePath("whole"));
    repository.Add("core/version_latest", "a b.zip", {{"a b/version.info", "build:2024.05.01"}});
    repository.file_list += "8#gone.zip#core/version_latest#2024-01-01T1#77#1\r\n";
    repository.file_list += "8#stale.zip#core/version_latest#2024-01-01T1#77#1\r\n";
    repository.package_list = "8#0#Board####page.htm\r\n";
    QVERIFY(repository.Publish({{"page.htm", "page"}}));
    WriteFile(repository.ArchivePath("core/version_latest", "stale.zip"), "12345");

    Installation installation;
    QSignalSpy bar(installation.Find<QProgressBar>("pbar_dl"), &QProgressBar::valueChanged);
    installation.Connect(m_server.Url() + "/whole");
    QVERIFY(QGuiApplication::overrideCursor()
            && !installation.Find<QPushButton>("pb_connect")->isEnabled());
    QVERIFY(installation.IsConnected());
    QVERIFY(bar.count() > 0);
    QCOMPARE(bar[0][0].toInt(), 33); // of three probes one has ended when the last begins
    QCOMPARE(Requests(),
             QStringList({"GET/zeft_upt_fversions.info 200", "GET/bsp/hwd_doc.zip 200",
                          "GET/bsp/zeft_bsps.info 200", "HEAD/core/version_latest/a%20b.zip 200",
                          "HEAD/core/version_latest/gone.zip 404",
                          "HEAD/core/version_latest/stale.zip 200"}));
    QCOMPARE(installation.Record("a b.zip")->time_stamp, QString("2024-05-01T12:00:00.000Z"));
    QCOMPARE(installation.Record("gone.zip")->version, QString("2024-01-01"));
    QCOMPARE(installation.Record("gone.zip")->file_size, qint64(77));
    QCOMPARE(installation.Record("stale.zip")->file_size, qint64(5));
    QVERIFY(installation.Record("stale.zip")->version > "2024-05-01");
    QTRY_COMPARE_WITH_TIMEOUT(ReadFile(installation.Download("hwd_doc/page.htm")),
                              QByteArray("page"), 30000);
    QCOMPARE(
        installation.Log().mid(2),
        QStringList({"Connecting to " + m_server.Url() + "/whole...",
                     "Connected. Select individual items in the left pane to install or update."}));
}

void TestConnecting::FailsAndConnectsAgain()
{
    const QString list = "zeft_upt_fversions.info";
    const QString packages = "bsp/zeft_bsps.info";
    // A file of the repository, its content and null if it is missing, what the log says, and how
    // many requests came.
    const std::tuple<QString, QByteArray, QString, int> rows[] = {
        {list, QByteArray(), kFailed, 1},
        {list, "8#a.zip#core#T#1#1\r\n", kInvalid, 1},
        {list, "//zeft_upt_fversions.info\r\n", "Connected...but nothing to download.", 1},
        {"no room for the descriptions", "", kFailed, 1},
        {"bsp/hwd_doc.zip", QByteArray(), kFailed, 2},
        {packages, QByteArray(), kFailed, 3},
        {packages, "<html>#</html>", kInvalid, 3},
    };
    Repository repository(m_site.filePath("site"));
    repository.Add("core/version_latest", "a.zip", {{"a/x", "x"}});
    Installation installation;
    const MainWindow *window = installation.Window();
    const QString descriptions = installation.Download("hwd_doc.zip");
    for (const auto &[path, content, message, requests] : rows) {
        QVERIFY(repository.Publish());
        const QString file = m_site.filePath("site/zeft/" + path);
        if (path.startsWith("no room"))
            QVERIFY(QDir().mkdir(descriptions));
        else
            QVERIFY(content.isNull() ? QFile::remove(file) : WriteFile(file, content));
        QVERIFY(!installation.Connects(m_server.Url() + "/site"));
        const QString last = installation.Log().last();
        QVERIFY2(last.startsWith(message) && last != kFailed, qPrintable(path + ": " + last));
        QCOMPARE(Requests().size(), requests);
        QVERIFY(!window->base_downloader && window->records.isEmpty());
        QVERIFY(!QGuiApplication::overrideCursor());
        QDir().rmdir(descriptions);
    }
    QVERIFY(repository.Publish() && installation.Connects(m_server.Url() + "/site"));
    QCOMPARE(Requests().size(), 4);
    QCOMPARE(window->records.size(), 1);
}

void TestConnecting::StopsDescriptionsWithoutAnEnd()
{
    const QByteArray list = "//zeft_upt_fversions.info\r\n8#a.zip#core#T#1#1\r\n";
    const QByteArray length = "Content-Length: " + QByteArray::number(list.size());
    ScriptedServer server(list);
    server.SetScript(
        {{ScriptedServer::Head("200 OK", length) + list},
         {ScriptedServer::Head("200 OK", "Server: test") + QByteArray(65000000, 'x')}});
    Installation installation;
    QVERIFY(!installation.Connects(server.Url().section("/a.zip", 0, 0)));
    QCOMPARE(installation.Log().last(), kFailed + "Server sends far more than the file's size");
    QVERIFY(!QFile::exists(installation.Download("hwd_doc.zip")));
}

void TestConnecting::StopsUnpackingDescriptions()
{
    Files descriptions;
    for (int n = 0; n < 1000; ++n)
        descriptions.insert(QString("%1.htm").arg(n), "page");
    Repository repository(m_site.filePath("large"));
    repository.Add("core/version_latest", "a.zip", {{"a/x", "x"}});
    QVERIFY(repository.Publish(descriptions));
    Installation installation;
    installation.Connect(m_server.Url() + "/large");
    const QString folder = installation.Download("hwd_doc");
    QVERIFY(installation.Work([&] { return QFile::exists(folder); }));
    const qint64 pid = installation.Window()->descriptions_process.m_pid;
    QVERIFY(installation.Window()->close());
    QTRY_VERIFY_WITH_TIMEOUT(ReadFile(QString("/proc/%1/cmdline").arg(pid)).isEmpty(), 60000);
    QVERIFY(!QFile::exists(folder));
}

void TestConnecting::TakesTheAlternateLink()
{
    const QString primary = PrimaryRepositoryUrl();
    const QString alternate = AlternateRepositoryUrl();
    QVERIFY(primary != alternate && !primary.endsWith('/') && !alternate.endsWith('/'));
    for (const QString &other : {primary + "/", alternate})
        QCOMPARE(RepositoryUrl(other, true), primary);

    Installation installation;
    installation.Find<QCheckBox>("chk_alt_link")->setChecked(true);
    installation.Connect(primary);
    QCOMPARE(installation.Log().last(), "Connecting to " + alternate + "...");
    QCOMPARE(installation.Window()->base_downloader->m_timeout, 15000);
    QCOMPARE(installation.Window()->base_downloader->m_url,
             alternate + "/zeft/zeft_upt_fversions.info");

    QVERIFY(installation.Window()->close());
    QSignalSpy end(installation.Window()->base_downloader, &FileDownloader::SignalDownloadFinished);
    QVERIFY(end.wait(60000));
    QCOMPARE(installation.Log().last(), "Connecting to " + alternate + "..."); // goes no further
}

ZEFT_TEST(TestConnecting)
#include "test_connecting.moc"
