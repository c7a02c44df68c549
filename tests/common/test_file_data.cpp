#include "common/common_helper.h"

#include <QTemporaryFile>
#include <QtTest>

class TestFileData : public QObject
{
    Q_OBJECT

private slots:
    void SumsTheFirstBytes_data();
    void SumsTheFirstBytes();
};

void TestFileData::SumsTheFirstBytes_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<qint64>("limit");
    QTest::addColumn<qint64>("sum");
    QTest::newRow("empty file") << QByteArray() << qint64(0) << qint64(0);
    QTest::newRow("abc") << QByteArray("abc") << qint64(0) << qint64(294);
    QTest::newRow("bytes count unsigned") << QByteArray("\xff\xff", 2) << qint64(0) << qint64(510);
    QTest::newRow("first byte alone") << QByteArray("abc") << qint64(1) << qint64(97);
    QTest::newRow("negative limit is no limit") << QByteArray("abc") << qint64(-1) << qint64(294);
    QTest::newRow("limit behind the end") << QByteArray("abc") << qint64(9) << qint64(294);
    QTest::newRow("limit in the second block")
        << QByteArray(1000002, '\1') << qint64(1000001) << qint64(1000001);
}

void TestFileData::SumsTheFirstBytes()
{
    QFETCH(QByteArray, bytes);
    QFETCH(qint64, limit);
    QTemporaryFile file;
    QVERIFY(file.open());
    file.write(bytes);
    QTEST(GetFileDataChecksum(file, limit), "sum");
}

QTEST_GUILESS_MAIN(TestFileData)
#include "test_file_data.moc"
