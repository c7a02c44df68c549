#pragma once

#include "clock.h"

#include <QCoreApplication>
#include <QWidget>
#include <QWindow>

#include <cstdio>
#include <cstdlib>

/// Shows the window and, once it is painted, prints the monotonic clock's time and the processor
/// time that the program took until then, in ms. Ends the program.
[[noreturn]] inline void TellWhenPainted(QWidget &window)
{
    window.show();
    while (!window.windowHandle()->isExposed()) // the event that tells it paints the window
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    std::printf("%.1f %.1f\n", Milliseconds(CLOCK_MONOTONIC),
                Milliseconds(CLOCK_PROCESS_CPUTIME_ID));
    std::fflush(stdout);
    std::_Exit(0);
}
