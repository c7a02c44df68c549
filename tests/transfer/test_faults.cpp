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
    void init();
    void cleanup();
    void EndsAsItMust_data();
    void EndsAsItMust();
    void ProbesAgainAfterAFault_data();
    void ProbesAgainAfterAFault();
    void AsksAgainAsLongAsTheServerStalls();
    void LeavesADamagedFileAlone();
    void EndsAPauseThatWasTooLong();
    void SurvivesAFullDisk_data();
    void SurvivesAFullDisk();
    void KeepsOnlyWhatTheTailProves_data();
    void KeepsOnlyWhatTheTailProves();
    void StoresTheStampInTwentyFourCharacters();

private:
    enum Method { Get, GetToMemory, Head };

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

void TestFaults::init()
{
    DataSingleton::Initialize(nullptr, m_dir.path()); // the first time
    m_manager.reset(new QNetworkAccessManager);
    m_server.reset(new ScriptedServer(m_content));
}

void TestFaults::cleanup()
{
    m_manager.reset();
    QFile::remove(Path());
}

/// With a tick that is fast enough for a test.
void TestFaults::Start(FileDownloader &transfer, int method, int patience)
{
    QVERIFY(transfer.Start(m_manager.data(), m_server->Url(), method == Head, kSize,
                           method == Get ? Path() : "", kStamp, true, patience, nullptr));
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
    const auto stalls = [&](const char *name, int method, const Answer &first) {
        row(name, kOneStall, method, 0, {first}, "", all);
    };
    row("never answers", kShort, Get, 0, silence_for_ever, "Remote response timeout.", kNothing);
    stalls("stalls once", Get, {Ok(all.left(1234567))});
    stalls("stalls before the first byte", Get, silence);
    stalls("stalls in the middle of an error page", Get, {Page("503 Busy").chopped(9)});
    // So little that it comes in one piece: of several pieces, Qt may or may not report the
    // progress of the last one.
    const QByteArray percent = all.left(kSize / 100);
    row("stalls for ever at a whole percent", kShort, Get, 0,
        Script{{Ok(percent)}} + silence_for_ever, "Remote response timeout.", percent);
    row("trickles", kShort, Get, 0, {{Ok(all), ScriptedServer::KeepOpen, 5000}}, "", all);

    const auto get = [&](const QByteArray &name, int held, const Script &script,
                         const QString &error, const QByteArray &data) {
        row(name, kLong, Get, held, script, error, data);
    };
    // Four times, as Qt repeats a request up to three times by itself where the connection closes
    // before it has read the head.
    const auto ends = [&](const QByteArray &name, int held, const Answer &answer, int kept) {
        get(name, held, Times(4, answer), "Connection closed", all.left(kept));
    };
    for (const int count : {0, 1, 39, 40, 41, 999999, 1000000, 1000001}) {
        const QByteArray at = " at byte " + QByteArray::number(count);
        ends("closed" + at, 0, {Ok(all.left(count)), ScriptedServer::Close}, count);
        ends("reset" + at, 0, {Ok(all.left(count)), ScriptedServer::Reset}, count);
    }
    ends("closed without a word", 1000, {"", ScriptedServer::Close}, 1000);
    ends(
        "a length beyond all bounds", 1000,
        {ScriptedServer::Head("206 Part", "Content-Length: 9223372036854775807") + all.mid(1000, 9),
         ScriptedServer::Close},
        1009);

    const QByteArray unknown_length = ScriptedServer::Head("200 OK", "Connection: close");
    get("no Content-Length", 0, {{unknown_length + all, ScriptedServer::Close}}, "", all);
    get("chunked", 0,
        {{ScriptedServer::Head("200 OK", "Transfer-Encoding: chunked")
          + QByteArray::number(kSize, 16) + "\r\n" + all + "\r\n0\r\n\r\n"}},
        "", all);

    get("redirect", 1000, {{Page("302 Found", "Location: /login")}}, "%1 - server replied: Found",
        all.left(1000));
    get("error page", 1000, {{Page("404 Not Found")}}, "%1 - server replied: Not Found",
        all.left(1000));

    get("has more than there is", 1000, {{Page("416 No Such Range", "Content-Range: bytes */999")}},
        "%1 - server replied: No Such Range", kNothing);
    get("range answered by its part, unnamed", 1000, {{Part("", all.mid(1000))}}, "", all);
    get("range answered by the whole", 1000, {{Ok(all)}}, "", all.left(1000) + all);
    get("range answered by another range, not waited for", 1000,
        {{Part("bytes 999-1999/2000", all.mid(999, 1001)).chopped(1)}},
        "Server sent another part of the file", kNothing);
    get("compressed against our wish", 0,
        {{ScriptedServer::Head("200 OK", "Content-Encoding: gzip\r\n" + Length(3)) + "abc"}}, "",
        "abc");

    stalls("memory: stalls", GetToMemory, {Ok(all.left(1234567))});
    stalls("memory: stalls behind the end", GetToMemory, {unknown_length + all});
    row("memory: without an end", kLong, GetToMemory, 0,
        {{unknown_length + QByteArray(65000000, 'x')}}, "The answer is too long.", kNothing);
    row("memory: error page", kLong, GetToMemory, 0, {{Page("404 Not Found")}},
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
    Run(next, method);
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

void TestFaults::LeavesADamagedFileAlone()
{
    FileDownloader transfer(nullptr);
    QSignalSpy finished(&transfer, &FileDownloader::SignalDownloadFinished);
    m_server->SetScript({{Ok(m_content.left(1234567))}});
    Start(transfer);
    QTRY_COMPARE_WITH_TIMEOUT(FileBytes().size(), 1000040, kHang);
    QVERIFY(QFile::resize(Path(), 1000000)); // by somebody else
    transfer.Pause();
    QCOMPARE(transfer.m_error, QString("File data corrupted."));
    QCOMPARE(finished.count(), 0);
    transfer.Resume();
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

void TestFaults::KeepsOnlyWhatTheTailProves_data()
{
    const Table<QByteArray, qint64, qint64, QString> row("bytes", "sum", "kept", "stamp");
    const QByteArray good = "abc" + Tail(294, 3, kStamp);
    row("whole", good, 294, 3, kStamp);
    row("any version will do", good, 294, 3, "");
    row("bytes above 127", "\xff\xfe" + Tail(509, 2, kStamp), 509, 2, kStamp);
    row("data changed", "abd" + Tail(294, 3, kStamp), 294, 0, kStamp);
    row("other version of the file", good, -1, 0, "2024-05-01T12:30:46.000Z");
    row("other letter case", good, -1, 0, kStamp.toLower());
    row("short stamp, stored longer", "abc" + Tail(294, 3, "2024-05-01T12:30:4500000"), -1, 0,
        "2024-05-01T12:30:45");
    row("cut", good.chopped(1), -1, 0, kStamp);
    row("length beyond 32 bits", "abc" + Tail(294, 3 + (qint64(1) << 32), kStamp), -1, 0, kStamp);
    row("negative sum", "abc" + Tail(-294, 3, kStamp), -294, 0, kStamp);
    row("only zeros", QByteArray(3, '\0') + Tail(0, 3, kStamp), 0, 0, kStamp);
    row("tail alone", Tail(0, 0, kStamp), 0, 0, kStamp);
    row("no room for a tail", QByteArray(39, 'x'), 0, 0, kStamp);
}

void TestFaults::KeepsOnlyWhatTheTailProves()
{
    QFETCH(QByteArray, bytes);
    QFETCH(qint64, sum); // that the tail states; -1: not a tail
    QFETCH(QString, stamp);
    QFile file(Path());
    QCOMPARE(FileDownloader::GetDownloadedFileDetails(Path(), stamp), qint64(0)); // no file
    QVERIFY(WriteFile(Path(), bytes));
    QTEST(FileDownloader::GetDownloadedFileDetails(Path(), stamp), "kept");
    QCOMPARE(FileBytes(), bytes);
    QVERIFY(file.open(QFile::ReadWrite));
    QCOMPARE(FileDownloader::ReadTailBytes(file, stamp, true), sum);
    file.close();
    const bool has_tail = bytes.size() >= 40 && sum != -1;
    QCOMPARE(FileBytes(), bytes.chopped(has_tail ? 40 : 0));
}

void TestFaults::StoresTheStampInTwentyFourCharacters()
{
    const QString euro = QString::fromUtf8("\u20ac");
    const std::tuple<QString, QByteArray, QString> rows[] = {
        {"", QByteArray(24, '0'), ""},
        {"abc", "abc" + QByteArray(21, '0'), "abc" + QString(21, '0')},
        {kStamp + "more", kStamp.toLatin1(), kStamp},
        {euro, "?" + QByteArray(23, '0'), euro + QString(23, '0')},
    };
    for (const auto &[stamp, stored, changed] : rows) {
        unsigned char data[] = {'b', 'c'};
        QString own_stamp = stamp;
        QFile file(Path());
        QVERIFY(file.open(QFile::ReadWrite | QFile::Truncate));
        FileDownloader::AddTailBytes(file, own_stamp, 97, data, 2);
        QCOMPARE(file.size(), qint64(0)); // nothing to prove
        file.write("abc");
        FileDownloader::AddTailBytes(file, own_stamp, 97, data, 2);
        file.close();
        QCOMPARE(FileBytes(), "abc" + Tail(294, 3, stored));
        QCOMPARE(own_stamp, changed);
    }
}

ZEFT_TEST(TestFaults)
#include "test_faults.moc"
