#include "app/datasingleton.h"
#include "support/installation.h"
#include "support/scripted_server.h"
#include "support/test.h"
#include "transfer/filedownloader.h"

#include <csignal>
#include <sys/resource.h>

using Answer = ScriptedServer::Answer;
using Script = QList<Answer>;
Q_DECLARE_METATYPE(Script)

namespace {

const int kSize = 2500000; // of the remote file
const int kShort = 500;    // ms of silence until a stalled request is sent again
const int kLong = 60000;   // the same where nothing stalls, however busy the machine is
const int kOneStall = 501; // short until the request has been sent again, and long from then on
const int kHang = 120000;  // ms, the most that a transfer may take
const QByteArray kDate = "Wed, 01 May 2024 12:30:45 GMT";
const QByteArray kNothing;

Script Times(int count, const Answer &answer)
{
    Script script;
    while (script.size() < count)
        script << answer;
    return script;
}

QByteArray Length(int length)
{
    return "Content-Length: " + QByteArray::number(length);
}

/// The whole file is announced, but only \a body comes.
QByteArray Ok(const QByteArray &body)
{
    return ScriptedServer::Head("200 OK", Length(kSize)) + body;
}

QByteArray Part(const QByteArray &content_range, const QByteArray &body)
{
    const QByteArray range = content_range.isEmpty() ? "" : "\r\nContent-Range: " + content_range;
    return ScriptedServer::Head("206 Partial Content", Length(body.size()) + range) + body;
}

QByteArray Page(const QByteArray &status, const QByteArray &header = "Server: test")
{
    const QByteArray body = "<html>" + status + "</html>";
    return ScriptedServer::Head(status, header + "\r\n" + Length(body.size())) + body;
}

} // namespace

/// Each fault, then one attempt more against a server without one.
class TestFaults : public QuietTest
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void EndsAsItMust_data();
    void EndsAsItMust();
    void ProbesAgainAfterAFault_data();
    void ProbesAgainAfterAFault();
    void AsksAgainAsLongAsTheServerStalls();
    void LeavesADamagedFileAlone_data();
    void LeavesADamagedFileAlone();
    void EndsAPauseThatWasTooLong();
    void SurvivesAFullDisk_data();
    void SurvivesAFullDisk();

private:
    enum Method { Get, GetToMemory, GetByTls, Head };

    QString Path() const { return m_dir.filePath("a.zip.dnl"); }
    QByteArray FileBytes() const { return ReadFile(Path()); }
    void Start(FileDownloader &transfer, int method = Get, int patience = kLong);
    void Run(FileDownloader &transfer, int method = Get, int patience = kLong);
    QString Text(const QString &error) const;

    const QByteArray m_content = RandomBytes(kSize);
    QTemporaryDir m_dir;
    QScopedPointer<ScriptedServer> m_server;
    QScopedPointer<QNetworkAccessManager> m_manager;
};

void TestFaults::initTestCase()
{
    QuietTest::initTestCase();
    DataSingleton::Initialize(nullptr, m_dir.path());
}

void TestFaults::init()
{
    m_manager.reset(new QNetworkAccessManager);
    m_server.reset(new ScriptedServer(m_content));
}

void TestFaults::cleanup()
{
    m_manager.reset();
    QFile::remove(Path());
    QuietTest::cleanup();
}

/// With a tick that is fast enough for a test.
void TestFaults::Start(FileDownloader &transfer, int method, int patience)
{
    const QString url = m_server->Url(method == GetByTls ? "https" : "http");
    const bool to_file = method == Get || method == GetByTls;
    QVERIFY(transfer.Start(m_manager.data(), url, method == Head, kSize, to_file ? Path() : "",
                           kStamp, true, patience, nullptr));
    transfer.m_timer.setInterval(20);
}

/// From the start to the one finish.
void TestFaults::Run(FileDownloader &transfer, int method, int patience)
{
    QSignalSpy finished(&transfer, &FileDownloader::SignalDownloadFinished);
    Start(transfer, method, patience);
    if (patience == kOneStall) {
        QTRY_VERIFY_WITH_TIMEOUT(m_server->Ranges().size() > 1, kHang);
        transfer.m_timeout = kLong;
    }
    QVERIFY(finished.count() > 0 || finished.wait(kHang));
    QCoreApplication::processEvents();
    QCOMPARE(finished.count(), 1);
    QVERIFY(!transfer.IsBusy() && !transfer.m_timer.isActive());
}

/// "%1" in an error text stands for how those of the server begin.
QString TestFaults::Text(const QString &error) const
{
    return error.contains("%1") ? error.arg("Error transferring " + m_server->Url()) : error;
}

void TestFaults::EndsAsItMust_data()
{
    const Table<int, int, int, Script, QString, QByteArray> row("patience", "method", "held",
                                                                "script", "error", "data");
    const QByteArray &all = m_content;
    const Answer silence = {};
    const Script silence_for_ever = Times(9, silence);

    row("never answers", kShort, Get, 0, silence_for_ever, "Remote response timeout.", kNothing);
    row("stalls once", kOneStall, Get, 0, {{Ok(all.left(1234567))}}, "", all);
    row("stalls before the first byte", kOneStall, Get, 0, {silence}, "", all);
    row("stalls in the middle of an error page", kOneStall, Get, 0, {{Page("503 Busy").chopped(9)}},
        "", all);
    // So little that it comes in one piece: of several pieces, Qt may or may not report the
    // progress of the last one.
    const QByteArray percent = all.left(kSize / 100);
    row("stalls for ever at a whole percent", kShort, Get, 0,
        Script{{Ok(percent)}} + silence_for_ever, "Remote response timeout.", percent);
    row("trickles", kShort, Get, 0, {{Ok(all), ScriptedServer::KeepOpen, 5000}}, "", all);

    // Four times, as Qt repeats a request up to three times by itself where the connection closes
    // before it has read the head.
    for (const int count : {0, 1, 39, 40, 41, 999999, 1000000, 1000001}) {
        const QByteArray at = " at byte " + QByteArray::number(count);
        const QByteArray part = Ok(all.left(count));
        row("closed" + at, kLong, Get, 0, Times(4, {part, ScriptedServer::Close}),
            "Connection closed", all.left(count));
        row("reset" + at, kLong, Get, 0, Times(4, {part, ScriptedServer::Reset}),
            "Connection closed", all.left(count));
    }
    row("closed without a word", kLong, Get, 1000, Times(4, {"", ScriptedServer::Close}),
        "Connection closed", all.left(1000));
    row("a length beyond all bounds", kLong, Get, 1000,
        Times(4, {ScriptedServer::Head("206 Part", "Content-Length: 9223372036854775807")
                      + all.mid(1000, 9),
                  ScriptedServer::Close}),
        "Connection closed", all.left(1009));
    row("no HTTP", kLong, Get, 1000, Times(4, {"garbage\r\n\r\n"}), "Connection closed",
        all.left(1000));

    const QByteArray unknown_length = ScriptedServer::Head("200 OK", "Connection: close");
    row("no Content-Length", kLong, Get, 0, {{unknown_length + all, ScriptedServer::Close}}, "",
        all);
    // Nobody can tell the cut here but the caller, who knows the size.
    row("no Content-Length, cut", kLong, Get, 0,
        {{unknown_length + all.left(1000), ScriptedServer::Close}}, "", all.left(1000));
    row("chunked", kLong, Get, 0,
        {{ScriptedServer::Head("200 OK", "Transfer-Encoding: chunked")
          + QByteArray::number(kSize, 16) + "\r\n" + all + "\r\n0\r\n\r\n"}},
        "", all);

    const QByteArray login = "Location: /login";
    row("redirect", kLong, Get, 1000, {{Page("302 Found", login)}}, "%1 - server replied: Found",
        all.left(1000));
    for (const char *status : {"403 Forbidden", "404 Not Found", "500 Broken", "503 Busy"})
        row(status, kLong, Get, 1000, {{Page(status)}},
            "%1 - server replied: " + QString(status).mid(4), all.left(1000));
    row("401", kLong, Get, 1000, {{Page("401 Unauthorized", "WWW-Authenticate: Basic realm=x")}},
        "Host requires authentication", all.left(1000));

    row("has everything already", kLong, Get, kSize, {}, "", all);
    row("has more than there is", kLong, Get, 1000,
        {{Page("416 No Such Range", "Content-Range: bytes */999")}},
        "%1 - server replied: No Such Range", kNothing);
    row("range answered by its part, unnamed", kLong, Get, 1000, {{Part("", all.mid(1000))}}, "",
        all);
    row("range answered by the whole", kLong, Get, 1000, {{Ok(all)}}, "", all.left(1000) + all);
    row("range answered by other content", kLong, Get, 1000,
        {{Part("bytes 1000-1002/1003", "abc")}}, "", all.left(1000) + "abc");
    row("range answered by another range, not waited for", kLong, Get, 1000,
        {{Part("bytes 999-1999/2000", all.mid(999, 1001)).chopped(1)}},
        "Server sent another part of the file", kNothing);
    row("compressed against our wish", kLong, Get, 0,
        {{ScriptedServer::Head("200 OK", "Content-Encoding: gzip\r\n" + Length(3)) + "abc"}}, "",
        "abc");
    row("broken hand-shake", kLong, GetByTls, 3, Times(4, {"no TLS here"}), "SSL handshake failed",
        all.left(3));

    row("memory: stalls", kOneStall, GetToMemory, 0, {{Ok(all.left(1234567))}}, "", all);
    row("memory: stalls in the middle of an error page", kOneStall, GetToMemory, 0,
        {{Page("503 Busy").chopped(9)}}, "", all);
    row("memory: stalls behind the end", kOneStall, GetToMemory, 0, {{unknown_length + all}}, "",
        all);
    row("memory: without an end", kLong, GetToMemory, 0,
        {{unknown_length + QByteArray(65000000, 'x')}}, "The answer is too long.", kNothing);
    row("memory: cut", kLong, GetToMemory, 0, Times(4, {Ok(all.left(1000)), ScriptedServer::Close}),
        "Connection closed", all.left(1000));
    row("memory: 404", kLong, GetToMemory, 0, {{Page("404 Not Found")}},
        "%1 - server replied: Not Found", kNothing);
}

void TestFaults::EndsAsItMust()
{
    QFETCH(int, patience);
    QFETCH(int, method);
    QFETCH(int, held); // bytes in the partial file before
    QFETCH(Script, script);
    QFETCH(QString, error);
    QFETCH(QByteArray, data); // afterwards
    if (held > 0)
        QVERIFY(WriteFile(Path(), PartialFile(m_content.left(held), kStamp)));

    FileDownloader transfer(nullptr);
    m_server->SetScript(script);
    m_server->EndWhen([&] { return transfer.DataHeld() + transfer.m_bufferFill >= data.size(); });
    Run(transfer, method, patience);
    QCOMPARE(transfer.m_error, Text(error));
    QCOMPARE(transfer.m_percent, error.isEmpty() ? 100.0F : -1.0F);
    const bool resumable = method != GetToMemory && !error.isEmpty() && !data.isEmpty();
    QByteArray received;
    transfer.GetDownloadedData(received);
    QVERIFY(received == (resumable ? PartialFile(data, kStamp) : data));

    init(); // as another run would
    FileDownloader next(nullptr);
    Run(next, method == GetByTls ? Get : method, kLong);
    QCOMPARE(m_server->Ranges().value(0),
             resumable ? "bytes=" + QByteArray::number(data.size()) + "-" : kNothing);
    QCOMPARE(next.m_error, QString());
    next.GetDownloadedData(received);
    QVERIFY(received == m_content);
}

void TestFaults::ProbesAgainAfterAFault_data()
{
    const Table<int, Script, QString, QString, QString> row("patience", "script", "error", "length",
                                                            "modified");
    QByteArray good = ScriptedServer::Head("200 OK", Length(5) + "\r\nLast-Modified: " + kDate);
    const QByteArray bare = ScriptedServer::Head("200 OK", "Connection: close");
    const QByteArray refused = ScriptedServer::Head("405 Not Here", Length(0));
    const QByteArray moved = ScriptedServer::Head("302 Found", "Location: /\r\n" + Length(9));
    const QString error = "%1 - server replied: ";
    row("none", kLong, {{good}}, "", "5", kStamp);
    row("connection closed between the two", kLong, {{good, ScriptedServer::Close}}, "", "5",
        kStamp);
    row("connection closed at the second one", kLong, {{good}, {"", ScriptedServer::Close}}, "",
        "5", kStamp);
    row("no length, no date", kLong, {{bare, ScriptedServer::Close}}, "", "", "");
    row("refused", kLong, {{refused}}, error + "Not Here", "0", "");
    row("redirect", kLong, {{moved}}, error + "Found", "9", "");
    row("silent, so that it is asked again as a GET", kOneStall, {{}}, "", QString::number(kSize),
        kStamp);
    row("the same, and then a stall of the GET", kShort,
        {{}, {Ok(m_content.left(1234567)), ScriptedServer::KeepOpen, 5000}}, "",
        QString::number(kSize), kStamp);
    row("the same with a file of any size", kOneStall,
        {{}, {good.replace(": 5", ": 70000000") + QByteArray(65000000, 'x')}}, "", "70000000",
        kStamp);
}

void TestFaults::ProbesAgainAfterAFault()
{
    QFETCH(int, patience);
    QFETCH(Script, script);
    QFETCH(QString, error);
    FileDownloader probe(nullptr);
    m_server->SetScript(script);
    Run(probe, Head, patience);
    QCOMPARE(probe.m_error, Text(error));
    QTEST(probe.m_contentLength, "length");
    QTEST(probe.m_lastModified, "modified");

    FileDownloader next(nullptr);
    Run(next, Head);
    QCOMPARE(next.m_error, QString());
    QCOMPARE(next.m_contentLength, QString::number(kSize));
    QCOMPARE(next.m_lastModified, kStamp);
}

void TestFaults::AsksAgainAsLongAsTheServerStalls()
{
    FileDownloader transfer(nullptr);
    const QSignalSpy finished(&transfer, &FileDownloader::SignalDownloadFinished);
    const int pace = 20000; // Qt reports no progress within the first 100 ms
    m_server->SetScript(Script{{Ok(m_content.left(1234567)), ScriptedServer::KeepOpen, pace}}
                        + Times(9, {}));
    Start(transfer, Get, kShort);
    QTRY_VERIFY_WITH_TIMEOUT(m_server->Ranges().size() >= 4, kHang);
    QCOMPARE(finished.count(), 0);
    transfer.Abort(false);
    QCOMPARE(finished.count(), 1);
    QCOMPARE(transfer.m_error, QString("Operation canceled"));
    const qint64 held = FileDownloader::GetDownloadedFileDetails(Path(), kStamp);
    QVERIFY(held > 0);
    for (const QByteArray &range : m_server->Ranges().mid(1))
        QCOMPARE(range, "bytes=" + QByteArray::number(held) + "-");
}

void TestFaults::LeavesADamagedFileAlone_data()
{
    const Table<bool> row("pause");
    row("while data arrives", false);
    row("at a pause", true);
}

void TestFaults::LeavesADamagedFileAlone()
{
    QFETCH(bool, pause);
    FileDownloader transfer(nullptr);
    QSignalSpy finished(&transfer, &FileDownloader::SignalDownloadFinished);
    m_server->SetScript({{Ok(m_content.left(1234567))}});
    Start(transfer);
    QTRY_COMPARE_WITH_TIMEOUT(FileBytes().size(), 1000040, kHang);
    QVERIFY(QFile::resize(Path(), 1000000)); // by somebody else
    transfer.m_timeout = kShort;
    if (pause) {
        transfer.Pause();
        QCOMPARE(transfer.m_error, QString("File data corrupted."));
        QCOMPARE(finished.count(), 0);
        transfer.Resume();
    }
    QVERIFY(finished.wait(kHang));
    QCOMPARE(finished.count(), 1);
    QCOMPARE(transfer.m_error, QString("File data corrupted."));
    QVERIFY(FileBytes() == m_content.left(1000000));
}

/// The error comes with the finish, and the next attempt finds everything fetched.
void TestFaults::EndsAPauseThatWasTooLong()
{
    FileDownloader transfer(nullptr);
    QSignalSpy finished(&transfer, &FileDownloader::SignalDownloadFinished);
    m_server->SetScript({{Ok(m_content.left(1234567))}});
    Start(transfer);
    QTRY_COMPARE_WITH_TIMEOUT(FileBytes().size(), 1000040, kHang);
    transfer.Pause();
    transfer.m_timeout = kShort;
    transfer.m_percent = 50.0F; // the watch counts at a whole percent alone
    QTRY_COMPARE_WITH_TIMEOUT(transfer.m_error, QString("Remote response timeout."), kHang);
    QCOMPARE(finished.count(), 0);
    transfer.m_percent = 49.5F;
    transfer.Resume();
    QVERIFY(finished.wait(kHang));
    QCOMPARE(transfer.m_error, QString("Remote response timeout."));

    FileDownloader next(nullptr);
    Run(next);
    QCOMPARE(next.m_error, QString());
    QCOMPARE(m_server->Ranges().last(), QByteArray("bytes=2500000-"));
    QVERIFY(FileBytes() == m_content);
}

void TestFaults::SurvivesAFullDisk_data()
{
    const Table<int, int> row("room", "kept");
    row("full in the first buffer", 999999, 0);
    row("full in the first tail", 1000020, 0);
    row("full in the second buffer", 1500000, 1000000);
    row("full in the second tail", 2000020, 1000000);
    row("full in the last write", 2499999, 2000000);
}

/// The system gives the size limit of a process the effects of a full disk: short writes and
/// errors.
void TestFaults::SurvivesAFullDisk()
{
    QFETCH(int, room);
    QFETCH(int, kept);
    rlimit limit = {};
    QVERIFY(getrlimit(RLIMIT_FSIZE, &limit) == 0 && signal(SIGXFSZ, SIG_IGN) != SIG_ERR);
    const rlimit tight = {static_cast<rlim_t>(room), limit.rlim_max};

    FileDownloader transfer(nullptr);
    setrlimit(RLIMIT_FSIZE, &tight);
    Run(transfer);
    setrlimit(RLIMIT_FSIZE, &limit);
    QVERIFY(!transfer.m_error.isEmpty());
    QCOMPARE(FileDownloader::GetDownloadedFileDetails(Path(), kStamp), qint64(kept));

    FileDownloader next(nullptr);
    Run(next);
    QCOMPARE(next.m_error, QString());
    QVERIFY(FileBytes() == m_content);
}

ZEFT_TEST(TestFaults)

#include "test_faults.moc"
