#include "common/common_helper.h"

#include <QtTest>
#include <numeric>

class TestFileData : public QObject
{
    Q_OBJECT

private slots:
    void SumsTheFirstBytes_data();
    void SumsTheFirstBytes();
    void ReadsAndWritesWholeFiles();
    void TellsWhatFailed();
    void CopiesBytes_data();
    void CopiesBytes();
};

void TestFileData::SumsTheFirstBytes_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<qint64>("limit");
    QTest::addColumn<qint64>("sum");
    QTest::newRow("empty file") << QByteArray() << qint64(0) << qint64(0);
    QTest::newRow("abc") << QByteArray("abc") << qint64(0) << qint64(294);
    QTest::newRow("order doesn't matter") << QByteArray("cba") << qint64(0) << qint64(294);
    QTest::newRow("bytes count unsigned") << QByteArray("\xff\xff", 2) << qint64(0) << qint64(510);
    QTest::newRow("first byte alone") << QByteArray("abc") << qint64(1) << qint64(97);
    QTest::newRow("negative limit is no limit") << QByteArray("abc") << qint64(-1) << qint64(294);
    QTest::newRow("limit behind the end") << QByteArray("abc") << qint64(9) << qint64(294);
    QTest::newRow("limit in the second block")
        << QByteArray(1000002, '\1') << qint64(1000001) << qint64(1000001);
    QTest::newRow("three blocks of the highest byte")
        << QByteArray(2000003, '\xff') << qint64(0) << qint64(510000765);
    QByteArray ramp(256, '\0');
    std::iota(ramp.begin(), ramp.end(), '\0');
    QTest::newRow("every byte value") << ramp << qint64(0) << qint64(32640);
    for (const int size : {127, 128, 129, 256})
        QTest::addRow("%d bytes", size) << QByteArray(size, '\2') << qint64(0) << qint64(2 * size);
}

void TestFileData::SumsTheFirstBytes()
{
    QFETCH(QByteArray, bytes);
    QFETCH(qint64, limit);
    QTemporaryFile file;
    QVERIFY(file.open());
    file.write(bytes); // the position is at the end now
    QTEST(GetFileDataChecksum(file, limit), "sum");
    QVERIFY(file.flush());
    QTEST(GetFileDataChecksum(file.fileName(), limit), "sum");
}

void TestFileData::ReadsAndWritesWholeFiles()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath("f");
    QByteArray data = "old";
    QVERIFY(CreateNewFile(path, "a longer text"));
    QVERIFY(GetFileData(path, data));
    QCOMPARE(data, QByteArray("a longer text"));
    QVERIFY(WriteFileData(path, QByteArray("a\0b", 3)));
    QCOMPARE(ReadFileData(path, data), qint64(3));
    QCOMPARE(data, QByteArray("a\0b", 3));
    QVERIFY(CreateNewFile(path, ""));
    QCOMPARE(ReadFileData(path, data), qint64(0));
}

void TestFileData::TellsWhatFailed()
{
    const QTemporaryDir dir;
    QByteArray data = "kept";
    for (const QString &path : {dir.filePath("missing/f"), dir.path()}) {
        QCOMPARE(GetFileDataChecksum(path, 0), qint64(-1));
        QVERIFY(!GetFileData(path, data));
        QCOMPARE(ReadFileData(path, data), qint64(4));
        QVERIFY(!CreateNewFile(path, "x"));
        QVERIFY(!WriteFileData(path, "x"));
    }
    QCOMPARE(data, QByteArray("kept"));
    // A disk without room
    QVERIFY(CreateNewFile("/dev/full", "x"));
    QVERIFY(!WriteFileData("/dev/full", "x"));
}

void TestFileData::CopiesBytes_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<bool>("reverse");
    QTest::addColumn<QByteArray>("copy");
    QTest::newRow("in order") << 3 << false << QByteArray("abc.");
    QTest::newRow("reversed") << 3 << true << QByteArray("cba.");
    QTest::newRow("none") << 0 << true << QByteArray("....");
    QTest::newRow("negative count") << -1 << false << QByteArray("....");
}

void TestFileData::CopiesBytes()
{
    QFETCH(int, count);
    QFETCH(bool, reverse);
    const QByteArray source = "abc";
    QByteArray target = "....";
    CopyByteArray(reinterpret_cast<unsigned char *>(target.data()),
                  reinterpret_cast<const unsigned char *>(source.constData()), count, reverse);
    QTEST(target, "copy");
}

QTEST_GUILESS_MAIN(TestFileData)
#include "test_file_data.moc"
