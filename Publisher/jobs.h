#pragma once

#include <QByteArray>

#include <functional>
#include <stdexcept>

/// Ends the work at the wish of the user: SIGINT, SIGTERM or SIGHUP came.
class Interrupted : public std::runtime_error
{
public:
    Interrupted()
        : std::runtime_error("interrupted")
    {
    }
};

/// From now on these signals end no process by themselves, but what calls CheckInterrupted().
void CatchInterruptions();
/// Throws Interrupted once one of them came.
void CheckInterrupted();
/// Dies of the signal that came, as a shell expects it.
void DieOfInterruption();

/// Does \a work for each number below \a count, each in a process of its own and as many at a time
/// as there are processors. What an archive does to a process, be it to crash it, is then a matter
/// of this archive alone; nor does any of them outlive this program.
///
/// \a done gets the number and what the work returned, or a null array if its process was killed.
/// Throws Interrupted, after the processes have ended. The program must have no other thread.
void RunJobs(int count, const std::function<QByteArray(int)> &work,
             const std::function<void(int, const QByteArray &)> &done);
