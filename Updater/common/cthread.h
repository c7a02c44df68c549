#pragma once

#include <QThread>

#include <atomic>

/// A worker thread that calls Run() again and again until it is told to leave, and idles meanwhile
/// if it is told to pause.
///
/// A derived class supplies the work; Run() sets the pace, for nothing sleeps between two calls.
/// The owner's operations block by polling until the worker answers, so the worker must not call
/// them on itself. It ends itself by setting exit_requested. It may be started again after it has
/// stopped, and must have stopped when the object is deleted.
class CThread : public QThread
{
    Q_OBJECT

public:
    explicit CThread(QObject *parent);
    ~CThread() override;

    /// Starts the thread at the lowest priority; on return PreRun() is over.
    ///
    /// If the system gives no thread, nothing runs: IsThreadRunning() and isFinished() are false.
    virtual void StartThread();

    /// Pauses or resumes the loop. With \a wait a pause has begun on return: Run() isn't being
    /// called. A request to a thread that isn't running holds from its first round on.
    void PauseThread(bool pause, bool wait);

    /// True between the end of PreRun() and the end of PostRun().
    bool IsThreadRunning() const { return running; }

    /// Ends the loop; on return PostRun() is over.
    ///
    /// If the thread isn't running, its next run calls PreRun() and PostRun() without a Run().
    void ExitThread();

protected:
    void run() override;

    virtual void PreRun() = 0;
    virtual void Run() = 0;
    virtual void PostRun() = 0;

    std::atomic<bool> exit_requested{false};
    std::atomic<bool> running{false};
    std::atomic<bool> pause_requested{false}; // keeps its value across a stop, as paused does
    std::atomic<bool> paused{false};

private:
    void AwaitEndOfLeavingRun();

    // Our part of a run is over, though QThread may not have seen the thread end yet.
    std::atomic<bool> leaving{false};
};
