#include "common/common_helper.h"

#include <QtTest>

class TestDigest : public QObject
{
    Q_OBJECT

private slots:
    void MatchesKnownDigests_data();
    void MatchesKnownDigests();
    void IsEmptyWithoutAFile();
};

void TestDigest::MatchesKnownDigests_data()
{
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QByteArray>("digest"); // as hexadecimal digits
    QTest::newRow("nothing") << QByteArray() << QByteArray();
    QTest::newRow("abc") << QByteArray("abc")
                         << QByteArray(
                                "b751850b1a57168a5693cd924b6b096e08f621827444f70d884f5d0240d2712e"
                                "10e116e9192af3c91a7ec57647e3934057340b4cf408d5a56592f8274eec53f0");
    QTest::newRow("many blocks")
        << QByteArray(200000, 'a')
        << QByteArray("af7532c59e6432c291839459cc15b8c118e4684a3693dfbd01fcccbaf3e32037"
                      "5d3cc7400e11a41603d7cdfad01e2be8840afb2e1c83f33aa376da0c4fc00a4c");
}

void TestDigest::MatchesKnownDigests()
{
    QFETCH(QByteArray, data);
    QTemporaryFile file;
    QVERIFY(file.open() && file.write(data) == data.size() && file.flush());
    QTEST(GenerateHashFromData(data).toHex(), "digest");
    QTEST(GenerateHashFromFile(file.fileName()).toHex(), "digest");
}

void TestDigest::IsEmptyWithoutAFile()
{
    QCOMPARE(GenerateHashFromFile(QTemporaryDir().filePath("missing")), QByteArray());
}

QTEST_GUILESS_MAIN(TestDigest)
#include "test_digest.moc"
