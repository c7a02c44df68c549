#include "common/common_helper.h"
#include "common/cthread.h"
#include "common/realtimer.h"

#include <QtTest>
#include <memory>

class TestThreads : public QObject
{
    Q_OBJECT

private slots:
    void RunsBetweenItsEnds();
    void PausesAndResumes();
    void SkipsRunAfterAnEarlyExit();
    void EndsByItself();
    void LivesManyLives();
    void TimesOutAfterItsTime();
    void Digests();
    void DrawsFromTheWholeRange();
};

namespace {

class Worker : public CThread
{
public:
    using CThread::CThread;

    std::atomic<int> before{0};
    std::atomic<int> rounds{0};
    std::atomic<int> after{0};
    std::atomic<int> last_round{-1}; // the round that ends the thread
    int unguarded = 0;               // ThreadSanitizer watches it

protected:
    void run() override
    {
        CThread::run();
        msleep(2); // the toolkit sees the end later than the owner does
    }
    void PreRun() override { ++unguarded, ++before; }
    void Run() override
    {
        ++unguarded;
        if (++rounds == last_round)
            exit_requested = true;
    }
    void PostRun() override { ++unguarded, ++after; }
};

} // namespace

void TestThreads::RunsBetweenItsEnds()
{
    Worker worker(nullptr);
    worker.StartThread();
    QCOMPARE(worker.before.load(), 1);
    QVERIFY(worker.IsThreadRunning());
    QCOMPARE(worker.priority(), QThread::LowestPriority);
    QTRY_VERIFY(worker.rounds > 1);
    QCOMPARE(worker.after.load(), 0);
    worker.ExitThread();
    QVERIFY(!worker.IsThreadRunning() && !worker.exit_requested);
    QCOMPARE(worker.after.load(), 1);
}

void TestThreads::PausesAndResumes()
{
    Worker worker(nullptr);
    worker.PauseThread(true, true); // not running: nothing to wait for
    for (int life = 0; life < 2; ++life) {
        worker.StartThread();
        QTRY_VERIFY(worker.paused);
        worker.ExitThread(); // the pause outlasts it
    }
    QCOMPARE(worker.rounds.load(), 0);

    worker.PauseThread(false, true);
    worker.StartThread();
    worker.PauseThread(true, true);
    const int rounds = worker.rounds;
    QTest::qWait(5);
    QCOMPARE(worker.rounds.load(), rounds);
    worker.PauseThread(false, true);
    QTRY_VERIFY(worker.rounds > rounds);
    worker.PauseThread(true, false);
    QTRY_VERIFY(worker.paused);
    worker.ExitThread();
}

void TestThreads::SkipsRunAfterAnEarlyExit()
{
    Worker worker(nullptr);
    worker.ExitThread();
    worker.StartThread();
    QTRY_COMPARE(worker.after.load(), 1);
    QCOMPARE(worker.before.load(), 1);
    QCOMPARE(worker.rounds.load(), 0);
    worker.StartThread(); // the request is used up
    QTRY_VERIFY(worker.rounds > 0);
    worker.ExitThread();
}

void TestThreads::EndsByItself()
{
    Worker worker(nullptr);
    for (int life = 1; life <= 100; ++life) {
        worker.last_round = worker.rounds + (life % 4 ? 100 * life : 1);
        worker.StartThread();
        QCOMPARE(worker.before.load(), life);
        if (life % 2)
            worker.PauseThread(true, true); // comes back whether the pause or the end came first
        worker.ExitThread();                // may find it running, leaving or gone
        QTRY_COMPARE(worker.after.load(), life);
        worker.PauseThread(false, false);
        worker.exit_requested = false;
    }
}

void TestThreads::LivesManyLives()
{
    Worker worker(nullptr);
    const std::unique_ptr<QThread> owner(QThread::create([&worker] {
        for (int life = 0; life < 100; ++life) {
            worker.StartThread();
            worker.PauseThread(true, true);
            ++worker.unguarded; // a paused worker leaves its data alone
            worker.PauseThread(false, false);
            worker.ExitThread();
            ++worker.unguarded;
        }
    }));
    owner->start();
    QVERIFY(owner->wait(60000));
    QCOMPARE(worker.before.load(), 100);
    QCOMPARE(worker.after.load(), 100);
}

void TestThreads::TimesOutAfterItsTime()
{
    RealTimer timer(5400000);
    timer.start -= std::chrono::hours(1);
    QVERIFY(timer.Elasped() >= 3600000 && timer.Elasped() < 3660000 && !timer.IsTimeout());
    timer.timeout = 1800000;
    QVERIFY(timer.IsTimeout());

    bool timed_out = true;
    do {
        timer.Reset(0);
        timed_out = timer.IsTimeout();
    } while (timer.Elasped() > 0); // too slow to tell
    QVERIFY(!timed_out);
    QTRY_VERIFY(timer.IsTimeout());
}

void TestThreads::Digests()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath("f");
    QCOMPARE(GenerateHashFromFile(path), QByteArray());
    QVERIFY(WriteFileData(path, "abc"));
    QCOMPARE(GenerateHashFromFile(path), GenerateHashFromData("abc"));
    QCOMPARE(GenerateHashFromData("abc").toHex(),
             QByteArray("b751850b1a57168a5693cd924b6b096e08f621827444f70d884f5d0240d2712e"
                        "10e116e9192af3c91a7ec57647e3934057340b4cf408d5a56592f8274eec53f0"));
    QCOMPARE(GenerateHashFromData(""), QByteArray());
}

// A right generator fails with a probability below 1e-20.
void TestThreads::DrawsFromTheWholeRange()
{
    QSet<unsigned int> seen;
    unsigned int bits = 0;
    for (int i = 0; i < 1000; ++i) {
        seen.insert(GenerateRandomNumber(10, 13));
        bits |= GenerateRandomNumber(5, 5);
        QCOMPARE(GenerateRandomNumber(5, 6), 5U);
        const unsigned int high = GenerateRandomNumber(0xfffffff0U, 0xffffffffU);
        QVERIFY(high >= 0xfffffff0U && high < 0xffffffffU);
    }
    QCOMPARE(seen, QSet<unsigned int>({10, 11, 12}));
    QCOMPARE(bits, 0xffffffffU);
}

QTEST_GUILESS_MAIN(TestThreads)
#include "test_threads.moc"
