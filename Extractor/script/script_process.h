#pragma once

#include "base/unique_fd.h"

#include <chrono>
#include <string>
#include <sys/types.h>

/// A running script, and under watch all processes that it starts.
///
/// Should this process die, by SIGKILL too, the script and everything that it has started die with
/// it. When the script has ended by itself, what it left running on purpose lives on.
///
/// Between the two stands a watcher process. It blocks on a pipe whose other end only this process
/// holds, so it learns of every kind of death; and it adopts each descendant of the script that
/// loses its parent, so it finds even those that have left the script's process group or session.
class ScriptProcess
{
public:
    /// Starts \a script, an absolute path, by the program that its first line names, executable or
    /// not, or by sh if that names none. It works in \a folder, reads nothing, and writes to
    /// \a output.
    ScriptProcess(const std::string &script, const std::string &folder, int output);
    ~ScriptProcess();
    ScriptProcess(const ScriptProcess &) = delete;
    ScriptProcess &operator=(const ScriptProcess &) = delete;

    /// Waits for the script's end; false if \a limit was up first.
    bool WaitFor(std::chrono::milliseconds limit);

    /// After the end: the script's exit code, or 128 and the number of the signal that killed it.
    int ExitCode() const { return m_exitCode; }

private:
    UniqueFd m_life; // closed by this process's death
    pid_t m_watcher = -1;
    int m_exitCode = 0;
};
