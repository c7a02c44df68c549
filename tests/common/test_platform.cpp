#include "common/common_helper.h"

#include <QtTest>

class TestPlatform : public QObject
{
    Q_OBJECT

private slots:
    void TakesFilesForThisMachine_data();
    void TakesFilesForThisMachine();
};

void TestPlatform::TakesFilesForThisMachine_data()
{
#if defined(__x86_64__)
    const bool x86_64 = true;
#else
    const bool x86_64 = false;
#endif
#if defined(__aarch64__)
    const bool arm64 = true;
#else
    const bool arm64 = false;
#endif
    QTest::addColumn<bool>("supported");
    QTest::newRow("6") << x86_64;
    QTest::newRow("7") << arm64;
    for (const char *code : {"8", "10", "11", "12"})
        QTest::newRow(code) << true;
    for (const char *code : {"-6", "0", "5", "9", "13"})
        QTest::newRow(code) << false;
}

void TestPlatform::TakesFilesForThisMachine()
{
    QTEST(IsPlatformSupported(atoi(QTest::currentDataTag())), "supported");
}

QTEST_GUILESS_MAIN(TestPlatform)
#include "test_platform.moc"
