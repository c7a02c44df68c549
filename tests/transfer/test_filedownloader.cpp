#include "app/datasingleton.h"
#include "support/installation.h"
#include "support/nginx_server.h"
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
const int kOneStall = 501; // short until the first stall, and long from then on
const int kHang = 120000;  // ms, the most that a transfer may take
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

QByteArray Part(const QByteArray &body, const QByteArray &header = "Server: test")
{
    return ScriptedServer::Head("206 Part", header + "\r\n" + Length(body.size())) + body;
}

QByteArray Page(const QByteArray &status, const QByteArray &header = "Server: test")
{
    const QByteArray body = "<html>" + status + "</html>";
    return ScriptedServer::Head(status, header + "\r\n" + Length(body.size())) + body;
}

int OpenDescriptors()
{
    return QDir("/proc/self/fd").entryList(QDir::AllEntries | QDir::System).size();
}

} // namespace

/// Transfers from a real server, and then each fault of another one.
class TestFileDownloader : public QuietTest
{
    Q_OBJECT

public:
    TestFileDownloader();

private slots:
    void init();
    void cleanup();
    void SetsTheTlsDefault();
    void Fetches();
    void Fails();
    void PausesAndGoesOn();
    void Aborts();
    void DropsDataThatIsNotWanted();
    void MayBeDeletedAtAnyTime();
    void LeavesNothingBehind();
    void EndsAsItMust_data();
    void EndsAsItMust();
    void ProbesInSpiteOfFaults();
    void LeavesADamagedFileAlone();
    void EndsAPauseThatWasTooLong();
    void SurvivesAFullDisk();
    void KeepsOnlyWhatTheTailProves();
    void StoresTheStampInTwentyFourCharacters();

private:
    enum Method { Get, GetToMemory, Head };

    QString Path() const { return m_dir.filePath("a.zip.dnl"); }
    FileDownloader *StartSlowly(const QString &stamp = kStamp);
    FileDownloader *Fetch(const QString &url, bool head_only, const QString &path,
                          const QString &stamp = kStamp, bool resume = true);
    void Wait(FileDownloader *transfer);
    void Start(FileDownloader &transfer, int method = Get, int patience = kLong);
    void Run(FileDownloader &transfer, int method = Get, int patience = kLong);
    void GetsAll(int method = Get);

    const QByteArray m_content = RandomBytes(kSize);
    QTemporaryDir m_dir;
    QTemporaryDir m_site;
    NginxServer m_fast{m_site.path()};
    NginxServer m_slow{m_site.path(), 5000000};
    QScopedPointer<QObject> m_parent;
    QScopedPointer<QNetworkAccessManager> m_manager;
    QScopedPointer<ScriptedServer> m_server;
};

TestFileDownloader::TestFileDownloader()
{
    DataSingleton::Initialize(nullptr, m_dir.path());
    WriteFile(m_site.filePath("a.zip"), m_content, kStamp);
    FileDownloader::SetSSLDefaultConfiguration(QSsl::AnyProtocol, QSslSocket::VerifyNone);
}

void TestFileDownloader::init()
{
    m_parent.reset(new QObject);
    m_manager.reset(new QNetworkAccessManager);
    m_server.reset(new ScriptedServer(m_content));
}

void TestFileDownloader::cleanup()
{
    m_parent.reset();
    m_manager.reset();
    QFile::remove(Path());
}

/// A transfer that will be on its way for half a second.
FileDownloader *TestFileDownloader::StartSlowly(const QString &stamp)
{
    auto *transfer = new FileDownloader(m_parent.data());
    transfer->Start(m_manager.data(), m_slow.Url() + "/a.zip", false, kSize, Path(), stamp, true,
                    kLong, nullptr);
    return transfer;
}

FileDownloader *TestFileDownloader::Fetch(const QString &url, bool head_only, const QString &path,
                                          const QString &stamp, bool resume)
{
    auto *transfer = new FileDownloader(m_parent.data());
    transfer->Start(m_manager.data(), url, head_only, kSize, path, stamp, resume, kLong, this);
    Wait(transfer);
    return transfer;
}

void TestFileDownloader::Wait(FileDownloader *transfer)
{
    QSignalSpy finished(transfer, &FileDownloader::SignalDownloadFinished);
    QVERIFY(finished.wait(30000));
    QCoreApplication::processEvents();
    QCOMPARE(finished.count(), 1);
    QVERIFY(!transfer->IsBusy() && !transfer->m_timer.isActive());
}

void TestFileDownloader::SetsTheTlsDefault()
{
    const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
    FileDownloader::SetSSLDefaultConfiguration(QSsl::TlsV1_2, QSslSocket::VerifyPeer);
    const QSslConfiguration set = QSslConfiguration::defaultConfiguration();
    const FileDownloader *transfer = Fetch(m_fast.Url() + "/a.zip", true, QString());
    QSslConfiguration::setDefaultConfiguration(before);
    QCOMPARE(transfer->m_error, QString("SSL handshake failed"));
    QCOMPARE(set.protocol(), QSsl::TlsV1_2);
    QCOMPARE(set.caCertificates(), QSslConfiguration::systemCaCertificates());
    QVERIFY(!set.ciphers().isEmpty() && set.ciphers() == QSslConfiguration::supportedCiphers());
}

void TestFileDownloader::Fetches()
{
    const QString url = m_fast.Url() + "/a.zip";
    const auto row = [&](const QString &name, const QString &path, int held, const QString &stamp,
                         bool resume, const QString &answer) {
        QFile::remove(Path());
        if (held > 0)
            WriteFile(Path(), PartialFile(m_content.left(held), kStamp));
        const int requests = m_fast.AccessLog().size();
        const bool head_only = answer.startsWith("HEAD");
        FileDownloader *transfer = Fetch(url, head_only, path, stamp, resume);
        Row(name, transfer->m_error, "");
        QCOMPARE(transfer->m_percent, 100.0F);
        QCOMPARE(transfer->m_url, url);
        QCOMPARE(transfer->m_userData, static_cast<void *>(this));
        if (held == 0) {
            Row(name, transfer->m_contentLength, QString::number(kSize));
            Row(name, transfer->m_lastModified, kStamp);
        }
        QByteArray data = "untouched";
        transfer->GetDownloadedData(data);
        QVERIFY2(data == (head_only ? QByteArray() : m_content), qPrintable(name));
        Row(name, QFile::exists(Path()), !path.isEmpty());
        QTRY_COMPARE(m_fast.AccessLog().size(), requests + 1);
        const QString line = m_fast.AccessLog().last();
        const QString agent = "agent=\"ZEFT-Updater (" + QSysInfo::prettyProductName() + ")\"";
        QVERIFY2(line.startsWith(answer) && line.endsWith(agent), qPrintable(name + ": " + line));
    };
    const QString whole = "GET /a.zip 200 range=\"-\" sent=2500000";
    row("memory", "", 0, kStamp, true, whole);
    row("file", Path(), 0, kStamp, true, whole);
    row("probe, though resume is set", "", 0, kStamp, true, "HEAD /a.zip 200 range=\"-\" sent=0");
    row("from the tail", Path(), 1234567, kStamp, true,
        "GET /a.zip 206 range=\"bytes=1234567-\" sent=1265433");
    row("nothing left to fetch", Path(), kSize, kStamp, true,
        "GET /a.zip 416 range=\"bytes=2500000-\" sent=");
    row("other version", Path(), 1234567, kStamp.toLower(), true, whole);
    row("no stamp", Path(), 1234567, "", true, whole);
    row("not wanted", Path(), 1234567, kStamp, false, whole);
}

void TestFileDownloader::Fails()
{
    FileDownloader transfer(m_parent.data());
    // A null manager is one more that must leave nothing behind.
    QVERIFY(transfer.Start(nullptr, "a.zip", false, 1, Path(), kStamp, true, kLong, nullptr));
    Wait(&transfer);
    QCOMPARE(transfer.m_error, QString("Protocol \"\" is unknown"));
    const QString nowhere = m_dir.filePath("none/a.zip");
    QVERIFY(!transfer.Start(nullptr, "a.zip", false, 1, nowhere, kStamp, true, kLong, nullptr));
    QVERIFY(!transfer.m_timer.isActive());
    QCOMPARE(transfer.m_error, QString("No such file or directory"));
}

/// With a stamp that the first tail makes longer.
void TestFileDownloader::PausesAndGoesOn()
{
    const QString stamp = kStamp.left(10);
    FileDownloader *transfer = StartSlowly(stamp);
    QTRY_VERIFY(transfer->m_percent > 30);
    QVERIFY(transfer->IsBusy());
    QVERIFY(!transfer->Start(m_manager.data(), "x", true, 0, "", "", false, 1, this));
    QCOMPARE(transfer->m_error, QString());
    QCOMPARE(transfer->m_timer.interval(), 1000);
    transfer->Pause();
    QVERIFY(!transfer->IsBusy() && transfer->m_timer.isActive());
    const qint64 held = FileDownloader::GetDownloadedFileDetails(Path(), stamp + QString(14, '0'));
    QVERIFY(held >= qint64(transfer->m_percent / 100 * kSize) - 1 && held < kSize);
    transfer->Pause(); // changes nothing
    transfer->Resume();
    transfer->Resume(); // changes nothing, either
    Wait(transfer);
    QCOMPARE(transfer->m_error, QString());
    QVERIFY(ReadFile(Path()) == m_content);
    QTRY_VERIFY(m_slow.AccessLog().last().contains(QString("206 range=\"bytes=%1-\"").arg(held)));
}

void TestFileDownloader::Aborts()
{
    for (const bool remove_data : {false, true}) {
        FileDownloader *transfer = StartSlowly();
        QTRY_VERIFY(transfer->m_percent > 30);
        QSignalSpy finished(transfer, &FileDownloader::SignalDownloadFinished);
        transfer->Abort(remove_data);
        transfer->Abort(true); // comes too late
        QCOMPARE(finished.count(), 1);
        QCOMPARE(transfer->m_error, QString("Operation canceled"));
        QCOMPARE(transfer->m_percent, -1.0F);
        QCOMPARE(QFile::exists(Path()), !remove_data);
        const qint64 held = FileDownloader::GetDownloadedFileDetails(Path(), kStamp);
        QVERIFY(remove_data ? held == 0 : held > kSize / 4);
    }
}

void TestFileDownloader::DropsDataThatIsNotWanted()
{
    FileDownloader *transfer = StartSlowly();
    QTRY_VERIFY(ReadFile(Path()).size() > kSize / 4);
    transfer->DelDownloadedData();
    QVERIFY(!QFile::exists(Path()));
    Wait(transfer);
    QCOMPARE(transfer->m_error, QString());
    QVERIFY(!QFile::exists(Path()));
}

void TestFileDownloader::MayBeDeletedAtAnyTime()
{
    QPointer<FileDownloader> transfer;
    const auto destroy = [&] { delete transfer; };
    transfer = StartSlowly();
    connect(transfer, &FileDownloader::SignalDownloadFinished, this, destroy);
    QTRY_VERIFY(!transfer);
    transfer = StartSlowly();
    connect(transfer, &FileDownloader::SignalDownloadProgress, this, destroy);
    QTRY_VERIFY(!transfer);
    QTRY_VERIFY(m_manager->findChildren<QNetworkReply *>().isEmpty());

    transfer = StartSlowly();
    QTRY_VERIFY(transfer->m_percent > 50);
    m_manager.reset();
    delete transfer;
    QVERIFY(FileDownloader::GetDownloadedFileDetails(Path(), kStamp) >= 1000000);
}

void TestFileDownloader::LeavesNothingBehind()
{
    const auto fetch_many = [this](int count) {
        for (int i = 0; i < count; ++i) {
            FileDownloader *transfer = StartSlowly();
            QTest::qWait(0);
            transfer->Abort(i % 2 == 1);
            delete transfer;
            delete Fetch(m_fast.Url() + (i % 3 == 2 ? "/b.zip" : "/c.txt"), i % 2 == 1,
                         i % 4 == 0 ? Path() : QString());
        }
    };
    QVERIFY(WriteFile(m_site.filePath("c.txt"), "text"));
    fetch_many(10); // Qt opens some descriptors once and for all
    m_manager.reset(new QNetworkAccessManager);
    const int before = OpenDescriptors();
    fetch_many(100);
    QTRY_VERIFY(m_manager->findChildren<QNetworkReply *>().isEmpty());
    m_manager.reset(); // and with it the connections that it keeps for the next request
    QTRY_VERIFY(OpenDescriptors() <= before);
    QVERIFY(m_parent->children().isEmpty());
}

/// With a tick that is fast enough for a test.
void TestFileDownloader::Start(FileDownloader &transfer, int method, int patience)
{
    QVERIFY(transfer.Start(m_manager.data(), m_server->Url(), method == Head, kSize,
                           method == Get ? Path() : "", kStamp, true, patience, nullptr));
    transfer.m_timer.setInterval(20);
}

/// From the start to the one finish.
void TestFileDownloader::Run(FileDownloader &transfer, int method, int patience)
{
    QSignalSpy finished(&transfer, &FileDownloader::SignalDownloadFinished);
    Start(transfer, method, patience);
    connect(&transfer.m_timer, &QTimer::timeout, &finished, [&] {
        if (patience == kOneStall && transfer.m_stalled)
            transfer.m_timeout = kLong;
    });
    QVERIFY(finished.count() > 0 || finished.wait(kHang));
    QCoreApplication::processEvents();
    QCOMPARE(finished.count(), 1);
    QVERIFY(!transfer.IsBusy() && !transfer.m_timer.isActive());
}

/// With what the attempts before have left.
void TestFileDownloader::GetsAll(int method)
{
    FileDownloader transfer(nullptr);
    Run(transfer, method);
    QCOMPARE(transfer.m_error, QString());
    QByteArray received;
    transfer.GetDownloadedData(received);
    QVERIFY(received == m_content);
}

void TestFileDownloader::EndsAsItMust_data()
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
    stalls("stalls before the first byte", Get, silence);
    stalls("stalls in the middle of an error page", Get, {Page("503 Busy").chopped(9)});
    // Slow, as Qt reports no progress within the first 100 ms.
    const Answer slow_start = {Ok(all.left(1234567)), ScriptedServer::KeepOpen, 5000};
    row("stalls again and again at a fraction of a percent", kShort, Get, 0,
        Script{slow_start} + Times(4, silence), "", all);
    // So little that it comes in one piece: of several pieces, Qt may or may not report the
    // progress of the last one.
    const QByteArray percent = all.left(kSize / 100);
    row("stalls for ever at a whole percent", kShort, Get, 0,
        Script{{Ok(percent)}} + silence_for_ever, "Remote response timeout.", percent);

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
    }
    ends(
        "a length beyond all bounds", 1000,
        {ScriptedServer::Head("206 Part", "Content-Length: 9223372036854775807") + all.mid(1000, 9),
         ScriptedServer::Close},
        1009);

    const QByteArray unknown_length = ScriptedServer::Head("200 OK", "Connection: close");
    get("no Content-Length", 0, {{unknown_length + all, ScriptedServer::Close}}, "", all);

    const QString replied = "Error transferring %1 - server replied: ";
    get("redirect", 1000, {{Page("302 Found", "Location: /login")}}, replied + "Found",
        all.left(1000));
    get("error page", 1000, {{Page("404 Not Found")}}, replied + "Not Found", all.left(1000));
    get("has more than there is", 1000, {{Page("416 No Such Range", "Content-Range: bytes */999")}},
        replied + "No Such Range", kNothing);
    get("range answered by its part, unnamed", 1000, {{Part(all.mid(1000))}}, "", all);
    get("range answered by the whole", 1000, {{Ok(all)}}, "", all.left(1000) + all);
    get("range answered by another range, not waited for", 1000,
        {{Part(all.mid(999, 1001), "Content-Range: bytes 999-1999/2000").chopped(1)}},
        "Server sent another part of the file", kNothing);
    get("compressed against our wish", 0,
        {{ScriptedServer::Head("200 OK", "Content-Encoding: gzip\r\n" + Length(3)) + "abc"}}, "",
        "abc");

    stalls("memory: stalls", GetToMemory, {Ok(all.left(1234567))});
    stalls("memory: stalls behind the end", GetToMemory, {unknown_length + all});
    row("memory: without an end", kLong, GetToMemory, 0,
        {{unknown_length + QByteArray(65000000, 'x')}}, "The answer is too long.", kNothing);
}

void TestFileDownloader::EndsAsItMust()
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
    QCOMPARE(transfer.m_error, error.replace("%1", m_server->Url()));
    QCOMPARE(transfer.m_percent, error.isEmpty() ? 100.0F : -1.0F);
    const bool resumable = method != GetToMemory && !error.isEmpty() && !data.isEmpty();
    QByteArray received;
    transfer.GetDownloadedData(received);
    QVERIFY(received == (resumable ? PartialFile(data, kStamp) : data));

    init(); // as another run would
    GetsAll(method);
    QCOMPARE(m_server->Ranges().value(0),
             resumable ? "bytes=" + QByteArray::number(data.size()) + "-" : kNothing);
}

void TestFileDownloader::ProbesInSpiteOfFaults()
{
    const auto row = [this](const QString &name, int patience, const Script &script,
                            const QString &length, const QString &modified) {
        init();
        FileDownloader probe(nullptr);
        m_server->SetScript(script);
        Run(probe, Head, patience);
        Row(name, probe.m_error, "");
        Row(name, probe.m_contentLength, length);
        Row(name, probe.m_lastModified, modified);
    };
    const QByteArray date = "\r\nLast-Modified: Wed, 01 May 2024 12:30:45 GMT";
    QByteArray good = ScriptedServer::Head("200 OK", Length(5) + date);
    const QByteArray bare = ScriptedServer::Head("200 OK", "Connection: close");
    row("connection closed at the second one", kLong, {{good}, {"", ScriptedServer::Close}}, "5",
        kStamp);
    row("no length, no date", kLong, {{bare, ScriptedServer::Close}}, "", "");
    row("silent, and so is the GET behind it in its midst", kShort,
        {{}, {Ok(m_content.left(1234567)), ScriptedServer::KeepOpen, 5000}}, QString::number(kSize),
        kStamp);
    row("silent, and the GET behind it brings a large file", kOneStall,
        {{}, {good.replace(": 5", ": 70000000") + QByteArray(65000000, 'x')}}, "70000000", kStamp);
}

void TestFileDownloader::LeavesADamagedFileAlone()
{
    FileDownloader transfer(nullptr);
    QSignalSpy finished(&transfer, &FileDownloader::SignalDownloadFinished);
    m_server->SetScript({{Ok(m_content.left(1234567))}});
    Start(transfer);
    QTRY_COMPARE_WITH_TIMEOUT(ReadFile(Path()).size(), 1000040, kHang);
    QVERIFY(QFile::resize(Path(), 1000000)); // by somebody else
    transfer.Pause();
    QCOMPARE(transfer.m_error, QString("File data corrupted."));
    QCOMPARE(finished.count(), 0);
    transfer.Resume();
    QVERIFY(finished.wait(kHang));
    QCOMPARE(finished.count(), 1);
    QCOMPARE(transfer.m_error, QString("File data corrupted."));
    QVERIFY(ReadFile(Path()) == m_content.left(1000000));
}

/// The error comes with the finish, and the next attempt finds everything fetched.
void TestFileDownloader::EndsAPauseThatWasTooLong()
{
    FileDownloader transfer(nullptr);
    QSignalSpy finished(&transfer, &FileDownloader::SignalDownloadFinished);
    m_server->SetScript({{Ok(m_content.left(1234567))}});
    Start(transfer);
    QTRY_COMPARE_WITH_TIMEOUT(ReadFile(Path()).size(), 1000040, kHang);
    transfer.Pause();
    transfer.m_timeout = kShort;
    transfer.m_percent = 50.0F; // the watch counts at a whole percent alone
    QTRY_COMPARE_WITH_TIMEOUT(transfer.m_error, QString("Remote response timeout."), kHang);
    QCOMPARE(finished.count(), 0);
    transfer.m_percent = 49.5F;
    transfer.Resume();
    QVERIFY(finished.wait(kHang));
    QCOMPARE(transfer.m_error, QString("Remote response timeout."));

    GetsAll();
    QCOMPARE(m_server->Ranges().last(), QByteArray("bytes=2500000-"));
}

/// The system gives the size limit of a process the effects of a full disk: short writes and
/// errors.
void TestFileDownloader::SurvivesAFullDisk()
{
    const std::pair<rlim_t, qint64> rows[] = {
        {1000020, 0},       // full in the first tail
        {1500000, 1000000}, // in the second buffer
        {2000020, 1000000}, // in the second tail
        {2499999, 2000000}, // in the last write
    };
    rlimit limit = {};
    QVERIFY(getrlimit(RLIMIT_FSIZE, &limit) == 0 && signal(SIGXFSZ, SIG_IGN) != SIG_ERR);
    for (const auto &[room, kept] : rows) {
        const rlimit tight = {room, limit.rlim_max};
        FileDownloader transfer(nullptr);
        setrlimit(RLIMIT_FSIZE, &tight);
        Run(transfer);
        setrlimit(RLIMIT_FSIZE, &limit);
        QVERIFY(!transfer.m_error.isEmpty());
        QCOMPARE(FileDownloader::GetDownloadedFileDetails(Path(), kStamp), kept);
        GetsAll();
    }
}

void TestFileDownloader::KeepsOnlyWhatTheTailProves()
{
    QCOMPARE(FileDownloader::GetDownloadedFileDetails(Path(), ""), qint64(0)); // no file
    // A sum of -1 is one that no tail states.
    const auto row = [this](const QString &name, const QByteArray &bytes, qint64 sum, qint64 kept,
                            const QString &stamp) {
        WriteFile(Path(), bytes);
        Row(name, FileDownloader::GetDownloadedFileDetails(Path(), stamp), kept);
        Row(name, ReadFile(Path()), bytes);
        QFile file(Path());
        QVERIFY(file.open(QFile::ReadWrite));
        Row(name, FileDownloader::ReadTailBytes(file, stamp, true), sum);
        file.close();
        const bool has_tail = bytes.size() >= 40 && sum != -1;
        Row(name, ReadFile(Path()), bytes.chopped(has_tail ? 40 : 0));
    };
    const QByteArray good = "abc" + Tail(294, 3, kStamp);
    row("whole", good, 294, 3, kStamp);
    row("any version will do", good, 294, 3, "");
    row("bytes above 127", "\xff\xfe" + Tail(509, 2, kStamp), 509, 2, kStamp);
    row("data changed", "abd" + Tail(294, 3, kStamp), 294, 0, kStamp);
    row("other version of the file", good, -1, 0, "2024-05-01T12:30:46.000Z");
    row("length beyond 32 bits", "abc" + Tail(294, 3 + (qint64(1) << 32), kStamp), -1, 0, kStamp);
    row("only zeros", QByteArray(3, '\0') + Tail(0, 3, kStamp), 0, 0, kStamp);
    row("no room for a tail", QByteArray(39, 'x'), 0, 0, kStamp);
}

void TestFileDownloader::StoresTheStampInTwentyFourCharacters()
{
    const std::tuple<QString, QByteArray, QString> rows[] = {
        {"", QByteArray(24, '0'), ""},
        {"abc", "abc" + QByteArray(21, '0'), "abc" + QString(21, '0')},
        {kStamp + "more", kStamp.toLatin1(), kStamp},
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
        QCOMPARE(ReadFile(Path()), "abc" + Tail(294, 3, stored));
        QCOMPARE(own_stamp, changed);
    }
}

ZEFT_TEST(TestFileDownloader)

#include "test_filedownloader.moc"
