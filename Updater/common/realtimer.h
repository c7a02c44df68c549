#pragma once

#include <QtGlobal>

#include <chrono>

/// A millisecond timer on the steady clock, so a change of the machine's time doesn't disturb it.
class RealTimer
{
public:
    /// Times out at once, that is after the first whole millisecond.
    RealTimer() { Reset(0); }
    explicit RealTimer(long milliseconds) { Reset(milliseconds); }

    /// Starts anew, with this time-out.
    void Reset(long milliseconds)
    {
        timeout = milliseconds;
        start = std::chrono::steady_clock::now();
    }

    /// Whole milliseconds since the last reset.
    long Elasped() const
    {
        using std::chrono::milliseconds;
        const auto time = std::chrono::steady_clock::now() - start;
        return static_cast<long>(std::chrono::duration_cast<milliseconds>(time).count());
    }

    /// True once more than the time-out has passed, and from then on.
    bool IsTimeout() const { return Elasped() > timeout; }

private:
    std::chrono::steady_clock::time_point start;
    qint64 timeout = 0; // ms
};
