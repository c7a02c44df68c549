#include "common/common_helper.h"

#include <QtTest>

class TestNetAddress : public QObject
{
    Q_OBJECT

private slots:
    void ChecksTheForm_data();
    void ChecksTheForm();
    void ListsOwnAddresses();
    void TellsLocalAddresses_data();
    void TellsLocalAddresses();
};

void TestNetAddress::ChecksTheForm_data()
{
    QTest::addColumn<QString>("ip");
    QTest::addColumn<bool>("with_port");
    QTest::addColumn<bool>("valid");
    const auto bare = [](const char *ip, bool valid) { QTest::newRow(ip) << ip << false << valid; };
    bare("192.168.1.1", true);
    bare("1.2.3", false);
    bare("1.2.3.4.5", false);
    bare("256.300.1.1", true);
    bare("a.b.c.d", true);
    bare("...", true);
    bare("-1.2.3.4", false);
    bare("1.2.3.-4", false);
    bare("1.2.3.4:80", false);
    bare("::ffff:1.2.3.4", false);
    bare("::1", true);
    bare("1:2:3:4:5:6:7:8", true);
    bare("1:2:3:4:5:6:7:8:9", false);
    bare("1:2:3:4:5:6:7::", false);
    bare("abc", true);
    bare("g::1", false);
    bare("12345::1", true);
    bare("[::1]", false);
    bare("", false);
    const auto ported = [](const char *ip, bool valid) {
        QTest::addRow("%s with port", ip) << ip << true << valid;
    };
    ported("1.2.3.4:80", true);
    ported("1.2.3.4:70000", true);
    ported("1.2.3.4:0", false);
    ported("1.2.3.4:x", false);
    ported("1.2.3.4:80:80", false);
    ported("1.2.3.4", false);
    ported("[::1]:80", true);
    ported("[::1]:0", false);
    ported("[g::1]:80", false);
    ported("[::1:80", false);
    ported("::1:80", false);
    ported("", false);
}

void TestNetAddress::ChecksTheForm()
{
    QFETCH(QString, ip);
    QFETCH(bool, with_port);
    QTEST(IsValidIP(ip, with_port), "valid");
}

void TestNetAddress::ListsOwnAddresses()
{
    const QString loopback = "127.0.0.1";
    const QStringList all = GetLocalIPs(false, false, false);
    const QStringList ip4 = GetLocalIPs(false, true, false);
    const QStringList ip6 = GetLocalIPs(true, false, false);
    QVERIFY(ip4.contains(loopback) && !ip6.contains(loopback));
    QCOMPARE(ip4.size() + ip6.size(), all.size());
    QVERIFY(ip4.filter(":").isEmpty());
    QCOMPARE(ip6.filter(":"), ip6);
    QStringList others = all;
    others.removeAll(loopback);
    QCOMPARE(GetLocalIPs(false, false, true), others);
    QCOMPARE(GetLocalIPs(true, true, false), QStringList());
}

void TestNetAddress::TellsLocalAddresses_data()
{
    QTest::addColumn<unsigned int>("mask");
    QTest::addColumn<bool>("local");
    const unsigned int host = 0xFFFFFFFF;
    QTest::newRow("127.5.6.7") << host << true;
    QTest::newRow("10.1.2.3") << host << true;
    QTest::newRow("203.0.113.1") << host << false;
    QTest::newRow("203.0.113.2") << 0U << true;
    // Compared with 127.0.0.1, an address of every machine
    QTest::newRow("126.1.1.1") << 0xFE000000 << true;
    QTest::newRow("203.0.113.129") << 0x0000007FU << true;
    QTest::newRow("::1") << host << true;
    QTest::newRow("fec0::1") << host << true;
    QTest::newRow("fd00::1") << host << true;
    QTest::newRow("2001:db8::1") << 0U << false;
    QTest::newRow("no address") << 0U << false;
}

void TestNetAddress::TellsLocalAddresses()
{
    QFETCH(unsigned int, mask);
    const QString address = QTest::currentDataTag();
    QTEST(IsIpAddressLocal(address, mask), "local");
    QTEST(IsIpAddressLocal(QHostAddress(address), mask), "local");
}

QTEST_GUILESS_MAIN(TestNetAddress)
#include "test_net_address.moc"
