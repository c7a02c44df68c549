#include "common/common_helper.h"
#include "common/cthread.h"
#include "common/realtimer.h"
#include "support/test.h"

#include <memory>
#include <sys/resource.h>

class TestThreads : public QObject
{
    Q_OBJECT

private slots:
    void RunsBetweenItsEnds();
    void PausesAndResumes();
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
        msleep(2); // Qt sees the end later than the owner does
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
    worker.setStackSize(1); // the system has no such thread
    QTest::ignoreMessage(QtCriticalMsg, QRegularExpression("Thread stack size error"));
    worker.StartThread();
    QVERIFY(!worker.IsThreadRunning() && !worker.isFinished());
    worker.setStackSize(0);

    worker.ExitThread(); // not running: the request is for the next run
    worker.StartThread();
    QTRY_COMPARE(worker.after.load(), 1);
    QCOMPARE(worker.before.load(), 1);
    QCOMPARE(worker.rounds.load(), 0);

    worker.StartThread();
    QCOMPARE(worker.before.load(), 2);
    QVERIFY(worker.IsThreadRunning());
    QCOMPARE(worker.priority(), QThread::LowestPriority);
    QTRY_VERIFY(worker.rounds > 1);
    QCOMPARE(worker.after.load(), 1);
    worker.ExitThread();
    QVERIFY(!worker.IsThreadRunning() && !worker.exit_requested);
    QCOMPARE(worker.after.load(), 2);
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

void TestThreads::LivesManyLives()
{
    Worker worker(nullptr);
    const std::unique_ptr<QThread> owner(QThread::create([&worker] {
        for (int life = 0; life < 200; ++life) {
            const bool ends_itself = life % 4 >= 2;
            worker.last_round = ends_itself ? worker.rounds + 1 + 10 * (life % 100) : -1;
            worker.StartThread();
            if (life % 2)
                worker.PauseThread(true, true); // comes back whether it pauses or ends first
            if (life % 4 == 1)
                ++worker.unguarded; // a paused worker leaves its data alone
            worker.PauseThread(false, false);
            worker.ExitThread(); // may find it running, leaving or gone
            if (ends_itself)
                worker.wait();
            ++worker.unguarded;
            worker.exit_requested = false; // still set if it was gone
        }
    }));
    owner->start();
    QVERIFY(owner->wait(60000));
    QCOMPARE(worker.before.load(), 200);
    QCOMPARE(worker.after.load(), 200);
}

void TestThreads::TimesOutAfterItsTime()
{
    RealTimer timer(5400000);
    timer.start -= std::chrono::hours(1);
    QVERIFY(timer.Elasped() >= 3600000 && timer.Elasped() < 3660000 && !timer.IsTimeout());

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

    // A file needs no room in memory, or 2 GiB would be too much.
    QVERIFY(WriteFileData(path, "") && GenerateHashFromFile(path).isEmpty());
    QVERIFY(QFile::resize(path, 32000000));
    QFile pages("/proc/self/statm");
    QVERIFY(pages.open(QFile::ReadOnly));
    const rlim_t in_use = pages.readAll().split(' ')[0].toULongLong() * 4096;
    const rlimit tight = {in_use + 16000000, RLIM_INFINITY};
    const rlimit free = {RLIM_INFINITY, RLIM_INFINITY};
    setrlimit(RLIMIT_AS, &tight);
    const QByteArray hash = GenerateHashFromFile(path);
    setrlimit(RLIMIT_AS, &free);
    QCOMPARE(hash.size(), 64);
}

// A right generator fails with a probability below 1e-20.
void TestThreads::DrawsFromTheWholeRange()
{
    unsigned int bits = 0;
    unsigned int lowest = 13;
    unsigned int highest = 10;
    for (int i = 0; i < 1000; ++i) {
        bits |= GenerateRandomNumber(5, 5);
        lowest = qMin(lowest, GenerateRandomNumber(10, 13));
        highest = qMax(highest, GenerateRandomNumber(10, 13));
        QCOMPARE(GenerateRandomNumber(0xfffffffeU, 0xffffffffU), 0xfffffffeU);
    }
    QCOMPARE(bits, 0xffffffffU);
    QCOMPARE(lowest, 10U);
    QCOMPARE(highest, 12U);
}

ZEFT_TEST(TestThreads)
#include "test_threads.moc"
