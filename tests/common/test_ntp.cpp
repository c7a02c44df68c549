#include "common/common_helper.h"

#include <QNetworkDatagram>
#include <QUdpSocket>
#include <QtTest>
#include <memory>

class TestNtp : public QObject
{
    Q_OBJECT

private slots:
    void ReadsTheTransmitTime_data();
    void ReadsTheTransmitTime();
    void AsksInTurn_data();
    void AsksInTurn();
};

namespace {

/// A packet that has this transmit timestamp and rubbish everywhere else.
QByteArray Packet(const QByteArray &hex_timestamp)
{
    return QByteArray(40, '\xee') + QByteArray::fromHex(hex_timestamp);
}

/// Answers the requests on 127.0.0.2 in a thread of its own, as long as it lives.
class Server
{
public:
    explicit Server(const QList<QByteArrayList> &answers)
        : m_thread(QThread::create([this, answers] { Serve(answers); }))
    {
        m_thread->start();
        m_ready.acquire();
    }
    ~Server() { Stop(); }

    quint16 Port() const { return m_port; }

    /// Ends the thread and gives the requests that came.
    QByteArrayList Stop()
    {
        m_thread->requestInterruption();
        m_thread->wait();
        return m_requests;
    }

private:
    void Serve(const QList<QByteArrayList> &answers)
    {
        QUdpSocket socket;
        socket.bind(QHostAddress("127.0.0.2"), 0);
        m_port = socket.localPort();
        m_ready.release();
        while (!QThread::currentThread()->isInterruptionRequested()) {
            if (!socket.waitForReadyRead(20))
                continue;
            const QNetworkDatagram request = socket.receiveDatagram();
            for (const QByteArray &answer : answers.value(m_requests.size()))
                socket.writeDatagram(request.makeReply(answer));
            m_requests.append(request.data());
        }
    }

    quint16 m_port = 0;
    QSemaphore m_ready;
    QByteArrayList m_requests;
    std::unique_ptr<QThread> m_thread;
};

} // namespace

// The moments, but for the last two, are RFC 5905's table of historic dates.
void TestNtp::ReadsTheTransmitTime_data()
{
    QTest::addColumn<QByteArray>("timestamp");
    QTest::addColumn<QString>("moment");
    QTest::newRow("first day of UNIX")
        << QByteArray("83aa7e8000000000") << "1970-01-01T00:00:00.000Z";
    QTest::newRow("first day of UTC")
        << QByteArray("876ce58000000000") << "1972-01-01T00:00:00.000Z";
    QTest::newRow("last day of the 20th century")
        << QByteArray("bc16708000000000") << "1999-12-31T00:00:00.000Z";
    QTest::newRow("first day of era 1")
        << QByteArray("0000f68000000000") << "2036-02-08T00:00:00.000Z";
    QTest::newRow("half a second") << QByteArray("83aa7e8080000000") << "1970-01-01T00:00:00.500Z";
    QTest::newRow("highest fraction")
        << QByteArray("83aa7e80ffffffff") << "1970-01-01T00:00:01.000Z";
}

void TestNtp::ReadsTheTransmitTime()
{
    QFETCH(QByteArray, timestamp);
    const QDateTime time = NtpTransmitTime(Packet(timestamp));
    QTEST(time.toUTC().toString(Qt::ISODateWithMs), "moment");
    QCOMPARE(time.timeSpec(), Qt::LocalTime);
}

void TestNtp::AsksInTurn_data()
{
    QTest::addColumn<QStringList>("servers"); // 127.0.0.2 is ours, and nobody is at 127.0.0.3
    QTest::addColumn<QList<QByteArrayList>>("answers"); // to each request
    QTest::addColumn<bool>("answered");
    QTest::addColumn<int>("requests");
    const QByteArray whole = Packet("876ce58000000000");
    const QByteArray cut = whole.left(47);
    const QStringList ours("127.0.0.2");
    using Answers = QList<QByteArrayList>;
    QTest::newRow("at once") << ours << Answers{{whole}} << true << 1;
    QTest::newRow("longer than a packet") << ours << Answers{{whole + "key"}} << true << 1;
    QTest::newRow("second attempt") << ours << Answers{{}, {whole}} << true << 2;
    QTest::newRow("third server") << QStringList{"has no address", "127.0.0.3", "127.0.0.2"}
                                  << Answers{{whole}} << true << 1;
    QTest::newRow("behind packets that are too short")
        << ours << Answers{{"", cut, whole}} << true << 1;
    QTest::newRow("too short") << ours << Answers{{cut}, {cut}} << false << 2;
    QTest::newRow("never") << ours << Answers{} << false << 2;
    QTest::newRow("no servers") << QStringList() << Answers{} << false << 0;
}

void TestNtp::AsksInTurn()
{
    QFETCH(QStringList, servers);
    QFETCH(QList<QByteArrayList>, answers);
    QFETCH(bool, answered);
    QFETCH(int, requests);
    QDateTime time = QDateTime::fromString("2001-01-01T00:00:00Z", Qt::ISODate);
    Server server(answers);
    const auto address_of = [](const QString &name) { return QHostAddress(name); };
    QCOMPARE(GetNtpTime(servers, server.Port(), address_of, time), answered);
    QCOMPARE(time.toUTC().toString(Qt::ISODate),
             QString(answered ? "1972-01-01T00:00:00Z" : "2001-01-01T00:00:00Z"));
    const QByteArrayList received = server.Stop();
    QCOMPARE(received.size(), requests);
    for (const QByteArray &request : received)
        QCOMPARE(request, QByteArray("\x1b", 1) + QByteArray(47, '\0'));
}

QTEST_GUILESS_MAIN(TestNtp)
#include "test_ntp.moc"
