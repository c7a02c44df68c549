#include "app/datasingleton.h"
#include "support/installation.h"
#include "support/nginx_server.h"
#include "support/test.h"
#include "transfer/filedownloader.h"

namespace {

const int kSlowSize = 4000000; // of the file that is fetched slowly
const int kBigSize = 40000000; // of the one that is fetched as fast as it comes
const int kTimeout = 15000;

int OpenDescriptors()
{
    return QDir("/proc/self/fd").entryList(QDir::AllEntries | QDir::System).size();
}

} // namespace

/// Transfers from a real server.
class TestFileDownloader : public QuietTest
{
    Q_OBJECT

public:
    TestFileDownloader();

private slots:
    void init();
    void cleanup();
    void SetsTheTlsDefault();
    void SetsTheProxy();
    void Fetches_data();
    void Fetches();
    void Fails();
    void PausesAndGoesOn();
    void Aborts();
    void DropsDataThatIsNotWanted();
    void MayBeDeletedAtAnyTime();
    void KeepsEveryByteInABusyLoop();
    void LeavesNothingBehind();

private:
    QString Path() const { return m_dir.filePath("a.zip.dnl"); }
    FileDownloader *StartSlowly(const QString &stamp = kStamp);
    FileDownloader *Fetch(const QString &url, bool head_only, const QString &path,
                          const QString &stamp = kStamp, bool resume = true);
    void Wait(FileDownloader *transfer);

    const QByteArray m_big = RandomBytes(kBigSize);
    const QByteArray m_content = m_big.left(kSlowSize);
    QTemporaryDir m_dir;
    QTemporaryDir m_site;
    NginxServer m_fast{m_site.path()};
    NginxServer m_slow{m_site.path(), 8000000};
    QScopedPointer<QObject> m_parent;
    QScopedPointer<QNetworkAccessManager> m_manager;
};

TestFileDownloader::TestFileDownloader()
{
    DataSingleton::Initialize(nullptr, m_dir.path());
    WriteFile(m_site.filePath("a.zip"), m_content, kStamp);
    WriteFile(m_site.filePath("big.zip"), m_big);
    QDir(m_site.path()).mkdir("folder");
    FileDownloader::SetSSLDefaultConfiguration(QSsl::AnyProtocol, QSslSocket::VerifyNone);
}

void TestFileDownloader::init()
{
    m_parent.reset(new QObject);
    m_manager.reset(new QNetworkAccessManager);
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
    transfer->Start(m_manager.data(), m_slow.Url() + "/a.zip", false, kSlowSize, Path(), stamp,
                    true, kTimeout, nullptr);
    return transfer;
}

FileDownloader *TestFileDownloader::Fetch(const QString &url, bool head_only, const QString &path,
                                          const QString &stamp, bool resume)
{
    auto *transfer = new FileDownloader(m_parent.data());
    transfer->Start(m_manager.data(), url, head_only, kSlowSize, path, stamp, resume, kTimeout,
                    this);
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
    QSslConfiguration::setDefaultConfiguration(before);
    QCOMPARE(set.protocol(), QSsl::TlsV1_2);
    QCOMPARE(set.peerVerifyMode(), QSslSocket::VerifyPeer);
    QVERIFY(!set.ciphers().isEmpty() && set.ciphers() == QSslConfiguration::supportedCiphers());
}

void TestFileDownloader::SetsTheProxy()
{
    const std::pair<const char *, quint16> ports[] = {{"8080", 8080}, {"70000", 4464}, {"80a", 0}};
    for (const auto &[text, port] : ports) {
        FileDownloader::SetApplicationProxy(1, "proxy.test", text, "me", "secret");
        QVERIFY(QNetworkProxyFactory::usesSystemConfiguration());
        FileDownloader::SetApplicationProxy(-1, "proxy.test", text, "me", "secret"); // a manual one
        QVERIFY(!QNetworkProxyFactory::usesSystemConfiguration());
        QCOMPARE(QNetworkProxy::applicationProxy(),
                 QNetworkProxy(QNetworkProxy::HttpProxy, "proxy.test", port, "me", "secret"));
    }
    FileDownloader::SetApplicationProxy(0, "proxy.test", "8080", "me", "secret");
    QCOMPARE(QNetworkProxy::applicationProxy(), QNetworkProxy(QNetworkProxy::NoProxy));
}

void TestFileDownloader::Fetches_data()
{
    const Table<bool, bool, int, QString, bool, QString> row("head_only", "to_file", "held",
                                                             "stamp", "resume", "answer");
    const QString whole = "GET /a.zip 200 range=\"-\" sent=4000000";
    row("memory", false, false, 0, kStamp, true, whole);
    row("file", false, true, 0, kStamp, true, whole);
    row("probe, though resume is set", true, false, 0, kStamp, true,
        "HEAD /a.zip 200 range=\"-\" sent=0");
    row("from the tail", false, true, 1234567, kStamp, true,
        "GET /a.zip 206 range=\"bytes=1234567-\" sent=2765433");
    row("nothing left to fetch", false, true, kSlowSize, kStamp, true,
        "GET /a.zip 416 range=\"bytes=4000000-\" sent=");
    row("other version", false, true, 1234567, kStamp.toLower(), true, whole);
    row("no stamp", false, true, 1234567, "", true, whole);
    row("not wanted", false, true, 1234567, kStamp, false, whole);
}

void TestFileDownloader::Fetches()
{
    QFETCH(bool, head_only);
    QFETCH(bool, to_file);
    QFETCH(int, held); // bytes in the partial file before
    QFETCH(QString, stamp);
    QFETCH(bool, resume);
    QFETCH(QString, answer);
    if (held > 0)
        QVERIFY(WriteFile(Path(), PartialFile(m_content.left(held), kStamp)));
    const int requests = m_fast.AccessLog().size();
    const QString url = m_fast.Url() + "/a.zip";
    FileDownloader *transfer = Fetch(url, head_only, to_file ? Path() : "", stamp, resume);
    QCOMPARE(transfer->m_error, QString());
    QCOMPARE(transfer->m_percent, 100.0F);
    QCOMPARE(transfer->m_url, url);
    QCOMPARE(transfer->m_userData, static_cast<void *>(this));
    if (held == 0) {
        QCOMPARE(transfer->m_contentLength, QString::number(kSlowSize));
        QCOMPARE(transfer->m_lastModified, kStamp);
    }
    QByteArray data = "untouched";
    transfer->GetDownloadedData(data);
    QVERIFY(data == (head_only ? QByteArray() : m_content));
    QVERIFY(QFile::exists(Path()) == to_file && (!to_file || ReadFile(Path()) == m_content));

    QTRY_COMPARE(m_fast.AccessLog().size(), requests + 1);
    const QString line = m_fast.AccessLog().last();
    QVERIFY2(line.startsWith(answer), qPrintable(line));
    QVERIFY2(line.endsWith("agent=\"ZEFT-Updater (" + QSysInfo::prettyProductName() + ")\""),
             qPrintable(line));
}

void TestFileDownloader::Fails()
{
    const QString folder = m_fast.Url() + "/folder"; // where the server might redirect
    const std::pair<QString, QString> rows[] = {
        {folder, "Error transferring " + folder + " - server replied: Not Found"},
        {"a.zip", "Protocol \"\" is unknown"},
        {"https://127.0.0.1:1/a.zip", "Connection refused"},
    };
    for (const auto &[url, error] : rows) {
        FileDownloader transfer(m_parent.data());
        // A null manager is one more that must leave nothing behind.
        QVERIFY(transfer.Start(nullptr, url, false, 1, Path(), kStamp, true, kTimeout, nullptr));
        Wait(&transfer);
        QCOMPARE(transfer.m_error, error);
    }
    FileDownloader transfer(m_parent.data());
    const QString nowhere = m_dir.filePath("none/a.zip");
    QVERIFY(!transfer.Start(nullptr, folder, false, 1, nowhere, kStamp, true, kTimeout, nullptr));
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
    QVERIFY(held > kSlowSize / 4 && held < kSlowSize);
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
        QVERIFY(remove_data ? held == 0 : held > kSlowSize / 4);
    }
}

void TestFileDownloader::DropsDataThatIsNotWanted()
{
    FileDownloader *transfer = StartSlowly();
    QTRY_VERIFY(ReadFile(Path()).size() > kSlowSize / 4);
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
    QTRY_VERIFY(transfer->m_percent > 30);
    m_manager.reset();
    delete transfer;
    QVERIFY(FileDownloader::GetDownloadedFileDetails(Path(), kStamp) >= 1000000);
}

void TestFileDownloader::KeepsEveryByteInABusyLoop()
{
    QTimer busy;
    connect(&busy, &QTimer::timeout, this, [&busy] {
        QThread::msleep(50);
        busy.start(QRandomGenerator::global()->bounded(20));
    });
    busy.start(0);
    QCOMPARE(Fetch(m_fast.Url() + "/big.zip", false, Path())->m_error, QString());
    QVERIFY(ReadFile(Path()) == m_big);
}

void TestFileDownloader::LeavesNothingBehind()
{
    const auto fetch_many = [this](int count) {
        for (int i = 0; i < count; ++i) {
            if (i % 10 == 9) {
                FileDownloader *transfer = StartSlowly();
                QTest::qWait(0);
                transfer->Abort(i % 20 == 19);
                delete transfer;
            } else {
                delete Fetch(m_fast.Url() + (i % 3 == 2 ? "/b.zip" : "/c.txt"), i % 2 == 1,
                             i % 4 == 0 ? Path() : QString());
            }
        }
    };
    QVERIFY(WriteFile(m_site.filePath("c.txt"), "text"));
    fetch_many(20); // Qt opens some descriptors once and for all
    m_manager.reset(new QNetworkAccessManager);
    const int before = OpenDescriptors();
    fetch_many(1000);
    QTRY_VERIFY(m_manager->findChildren<QNetworkReply *>().isEmpty());
    m_manager.reset(); // and with it the connections that it keeps for the next request
    QTRY_VERIFY(OpenDescriptors() <= before);
    QVERIFY(m_parent->children().isEmpty());
}

ZEFT_TEST(TestFileDownloader)

#include "test_filedownloader.moc"
