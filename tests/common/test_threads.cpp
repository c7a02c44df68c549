#include "answers.h"
#include "common/cthread.h"
#include "common/digest.h"
#include "common/filemanager.h"
#include "common/random_number.h"
#include "common/realtimer.h"

#include <memory>

class TestThreads : public QObject
{
    Q_OBJECT

private slots:
    void RunsBetweenItsEnds();
    void PausesAndResumes();
    void KeepsAPauseAcrossAStop();
    void SkipsRunAfterAnEarlyExit();
    void EndsByItself();
    void SurvivesItsOwnEndDuringAWait();
    void LivesManyLives();
    void TimesOutAfterItsTime();
    void Digests_data();
    void Digests() { CompareAnswers(); }
    void DrawsFromTheWholeRange();
};

namespace {

class Worker : public CThread
{
public:
    Worker()
        : CThread(nullptr)
    {
    }

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
    void PreRun() override { ++before, ++unguarded; }
    void Run() override
    {
        ++unguarded;
        if (++rounds == last_round)
            exit_requested = true;
    }
    void PostRun() override { ++after, ++unguarded; }
};

} // namespace

void TestThreads::RunsBetweenItsEnds()
{
    Worker worker;
    worker.StartThread();
    QCOMPARE(worker.before.load(), 1);
    QVERIFY(worker.IsThreadRunning());
    QCOMPARE(worker.priority(), QThread::LowestPriority);
    QTRY_VERIFY(worker.rounds > 1);
    QCOMPARE(worker.after.load(), 0);
    worker.ExitThread();
    QVERIFY(!worker.IsThreadRunning() && !worker.exit_requested);
    QCOMPARE(worker.after.load(), 1);

    FileManager manager(nullptr);
    manager.StartThread();
    QVERIFY(manager.IsThreadRunning());
    manager.ExitThread();
    QVERIFY(!manager.IsThreadRunning());
}

void TestThreads::PausesAndResumes()
{
    Worker worker;
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

void TestThreads::KeepsAPauseAcrossAStop()
{
    Worker worker;
    worker.PauseThread(true, true); // not running: nothing to wait for
    for (int life = 0; life < 2; ++life) {
        worker.StartThread();
        QTRY_VERIFY(worker.paused);
        worker.ExitThread();
    }
    QCOMPARE(worker.rounds.load(), 0);
}

void TestThreads::SkipsRunAfterAnEarlyExit()
{
    Worker worker;
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
    Worker worker;
    for (int life = 1; life <= 50; ++life) {
        worker.last_round = life; // one round in each life
        worker.StartThread();
        QCOMPARE(worker.before.load(), life);
        worker.ExitThread(); // may find it running, leaving or gone
        QTRY_COMPARE(worker.after.load(), life);
        worker.exit_requested = false;
        worker.rounds = life;
    }
}

void TestThreads::SurvivesItsOwnEndDuringAWait()
{
    for (int life = 0; life < 50; ++life) {
        Worker worker;
        worker.last_round = 100 * life;
        worker.StartThread();
        worker.PauseThread(true, true); // comes back whether a pause or the end came first
        worker.ExitThread();
    }
}

void TestThreads::LivesManyLives()
{
    Worker worker;
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
    timer.Reset(3600000);
    QVERIFY(timer.Elasped() < 60000 && !timer.IsTimeout());

    bool timed_out = true;
    do {
        timer.Reset(0);
        timed_out = timer.IsTimeout();
    } while (timer.Elasped() > 0); // too slow to tell
    QVERIFY(!timed_out);
    QTRY_VERIFY(timer.IsTimeout());
}

void TestThreads::Digests_data()
{
    AddAnswerColumns();
    const auto digest = [](const char *row, const QByteArray &data, const QByteArray &expected) {
        QTemporaryFile file;
        Row("the file", file.open() && file.write(data) == data.size() && file.flush(), true);
        Row(row, GenerateHashFromData(data).toHex(), expected);
        Row(QString("file of ") + row, GenerateHashFromFile(file.fileName()).toHex(), expected);
    };
    digest("nothing", "", "");
    digest("abc", "abc",
           "b751850b1a57168a5693cd924b6b096e08f621827444f70d884f5d0240d2712e"
           "10e116e9192af3c91a7ec57647e3934057340b4cf408d5a56592f8274eec53f0");
    digest("many blocks", QByteArray(200000, 'a'),
           "af7532c59e6432c291839459cc15b8c118e4684a3693dfbd01fcccbaf3e32037"
           "5d3cc7400e11a41603d7cdfad01e2be8840afb2e1c83f33aa376da0c4fc00a4c");
    Row("missing file", GenerateHashFromFile(QTemporaryDir().filePath("missing")), "");
}

// A right generator fails with a probability below 1e-20.
void TestThreads::DrawsFromTheWholeRange()
{
    QSet<unsigned int> seen;
    unsigned int ones = 0;
    unsigned int zeros = 0;
    for (int i = 0; i < 1000; ++i) {
        QCOMPARE(GenerateRandomNumber(5, 6), 5U);
        const unsigned int high = GenerateRandomNumber(0xfffffff0U, 0xffffffffU);
        QVERIFY(high >= 0xfffffff0U && high < 0xffffffffU);
        seen.insert(GenerateRandomNumber(10, 13));
        const unsigned int any = GenerateRandomNumber(5, 5);
        ones |= any;
        zeros |= ~any;
    }
    QCOMPARE(seen, QSet<unsigned int>({10, 11, 12}));
    QCOMPARE(ones & zeros, 0xffffffffU);
}

QTEST_GUILESS_MAIN(TestThreads)
#include "test_threads.moc"
