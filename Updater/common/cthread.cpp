#include "common/cthread.h"

CThread::CThread(QObject *parent)
    : QThread(parent)
{
}

CThread::~CThread()
{
    AwaitEndOfLeavingRun(); // QThread aborts the program if it still takes the thread for running
}

void CThread::StartThread()
{
    AwaitEndOfLeavingRun(); // or QThread doesn't start anything
    start(QThread::LowestPriority);
    // Where no thread could be had, Qt says neither that it runs nor that it has finished.
    while (!IsThreadRunning() && isRunning())
        msleep(1);
}

void CThread::PauseThread(bool pause, bool wait)
{
    pause_requested = pause;
    if (exit_requested || !running || !pause)
        return;
    paused = false;
    while (wait && !paused && !exit_requested && running)
        msleep(1);
}

void CThread::ExitThread()
{
    const bool was_running = running;
    exit_requested = true;
    while (running)
        msleep(1);
    if (was_running)
        exit_requested = false; // it may have come too late for a run that was ending by itself
}

void CThread::run()
{
    leaving = false;
    PreRun();
    running = true;
    while (!exit_requested) {
        if (pause_requested) {
            paused = true;
            msleep(1);
        } else {
            Run();
        }
    }
    PostRun();
    // The owner waits for the last store, and may start or delete the thread from then on.
    leaving = true;
    exit_requested = false;
    running = false;
}

void CThread::AwaitEndOfLeavingRun()
{
    if (leaving)
        wait();
}
