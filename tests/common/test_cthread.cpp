#include "common/cthread.h"
#include "common/filemanager.h"

#include <QtTest>
#include <memory>

class TestCThread : public QObject
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
    void PreRun() override
    {
        ++unguarded;
        ++before;
    }
    void Run() override
    {
        ++unguarded;
        if (++rounds == last_round)
            exit_requested = true;
    }
    void PostRun() override
    {
        ++unguarded;
        ++after;
    }
};

} // namespace

void TestCThread::RunsBetweenItsEnds()
{
    Worker worker;
    QVERIFY(!worker.IsThreadRunning());
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

void TestCThread::PausesAndResumes()
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

void TestCThread::KeepsAPauseAcrossAStop()
{
    Worker worker;
    worker.PauseThread(true, true); // not running: nothing to wait for
    for (int life = 0; life < 2; ++life) {
        worker.StartThread();
        QTRY_VERIFY(worker.paused);
        worker.ExitThread();
        QVERIFY(worker.paused && worker.pause_requested);
    }
    QCOMPARE(worker.rounds.load(), 0);
}

void TestCThread::SkipsRunAfterAnEarlyExit()
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

void TestCThread::EndsByItself()
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

void TestCThread::SurvivesItsOwnEndDuringAWait()
{
    for (int life = 0; life < 50; ++life) {
        Worker worker;
        worker.last_round = 100 * life;
        worker.StartThread();
        worker.PauseThread(true, true); // comes back whether a pause or the end came first
        worker.ExitThread();
    }
}

void TestCThread::LivesManyLives()
{
    const int lives = 100;
    Worker worker;
    const std::unique_ptr<QThread> owner(QThread::create([&] {
        for (int life = 0; life < lives; ++life) {
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
    QCOMPARE(worker.before.load(), lives);
    QCOMPARE(worker.after.load(), lives);
}

QTEST_GUILESS_MAIN(TestCThread)
#include "test_cthread.moc"
