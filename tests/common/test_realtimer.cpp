#include "common/realtimer.h"

#include <QtTest>

class TestRealTimer : public QObject
{
    Q_OBJECT

private slots:
    void TimesOutAfterItsTime_data();
    void TimesOutAfterItsTime();
    void LetsTheFirstMillisecondPass();
};

void TestRealTimer::TimesOutAfterItsTime_data()
{
    QTest::addColumn<int>("timeout");
    QTest::addColumn<bool>("timed_out");
    QTest::newRow("half an hour later") << 5400000 << false;
    QTest::newRow("half an hour ago") << 1800000 << true;
    QTest::newRow("negative") << -1 << true;
}

void TestRealTimer::TimesOutAfterItsTime()
{
    QFETCH(int, timeout);
    RealTimer timer(timeout);
    timer.start -= std::chrono::hours(1);
    QVERIFY(timer.Elasped() >= 3600000 && timer.Elasped() < 3660000);
    QTEST(timer.IsTimeout(), "timed_out");
    timer.Reset(3600000);
    QVERIFY(!timer.IsTimeout());
    QVERIFY(timer.Elasped() < 60000);
}

void TestRealTimer::LetsTheFirstMillisecondPass()
{
    RealTimer timer;
    bool timed_out = true;
    do {
        timer.Reset(0);
        timed_out = timer.IsTimeout();
    } while (timer.Elasped() > 0); // too slow to tell
    QVERIFY(!timed_out);
    QTRY_VERIFY(timer.IsTimeout());
}

QTEST_GUILESS_MAIN(TestRealTimer)
#include "test_realtimer.moc"
