#include "script/script_process.h"

#include "base/failure.h"
#include "base/input_file.h"
#include "base/trimmed.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <vector>

namespace {

struct Pipe
{
    UniqueFd reading;
    UniqueFd writing;
};

Pipe MakePipe()
{
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        throw SystemFailure("pipe");
    return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

sigset_t ChildSignal()
{
    sigset_t set;
    ::sigemptyset(&set);
    ::sigaddset(&set, SIGCHLD);
    return set;
}

int ExitCodeOf(int status)
{
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

/// The command line that runs \a script: the program that its first line names, the rest of that
/// line as one argument, and the script; the script alone if no program is named. The kernel does
/// the same, but only for a file with the execute bit, which an archive made on Windows lacks, and
/// whose lines may end in a carriage return and a line feed.
std::vector<std::string> ReadCommand(const std::string &script)
{
    char start[255]; // of the first line, as much as the kernel looks at
    std::string_view line(start, InputFile(script).ReadAt(0, start, sizeof start));
    line = line.substr(0, line.find('\n'));
    std::vector<std::string> command;
    if (line.substr(0, 2) == "#!") {
        line = Trimmed(line.substr(2));
        const std::size_t end = std::min(line.find_first_of(" \t"), line.size());
        for (const std::string_view word : {line.substr(0, end), Trimmed(line.substr(end))})
            if (!word.empty())
                command.emplace_back(word);
    }
    command.push_back(script);
    return command;
}

// What follows runs in the forked processes, which leave by _exit() alone.

struct ScriptSetup
{
    char *const *command; // ends with a null
    const std::string &folder;
    int output;
    int failure; // a pipe that takes the errno of a failed start
};

[[noreturn]] void BecomeScript(const ScriptSetup &setup, pid_t watcher)
{
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != watcher)
        ::_exit(1); // the watcher died before the call of prctl()
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    std::signal(SIGPIPE, SIG_DFL);
    std::signal(SIGXFSZ, SIG_DFL);
    const int null = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (null >= 0 && ::dup2(null, STDIN_FILENO) >= 0 && ::dup2(setup.output, STDOUT_FILENO) >= 0
        && ::dup2(setup.output, STDERR_FILENO) >= 0 && ::chdir(setup.folder.c_str()) == 0) {
        const char *const program = setup.command[0];
        ::execv(program, setup.command);
        const bool names_none = !setup.command[1];
        if (names_none && (errno == ENOEXEC || errno == EACCES))
            ::execl("/bin/sh", "sh", program, nullptr);
    }
    const int error = errno;
    [[maybe_unused]] const ssize_t written = ::write(setup.failure, &error, sizeof error);
    ::_exit(1);
}

std::vector<pid_t> Children()
{
    const std::string self = std::to_string(::getpid());
    std::ifstream list("/proc/self/task/" + self + "/children");
    std::vector<pid_t> children;
    for (pid_t child = 0; list >> child;)
        children.push_back(child);
    return children;
}

/// Kills the script's group, and then whoever turns up as a child of this process, since the
/// children of the killed come to it, until nobody is left.
void KillDescendants(pid_t script)
{
    constexpr int kMostRounds = 1000; // should one be stuck in the kernel
    constexpr unsigned kMicrosecondsBetween = 2000;
    ::kill(-script, SIGKILL);
    for (int round = 0; round < kMostRounds; ++round) {
        for (const pid_t child : Children())
            ::kill(child, SIGKILL);
        pid_t ended = 0;
        do {
            ended = ::waitpid(-1, nullptr, WNOHANG);
        } while (ended > 0);
        if (ended < 0)
            return;
        ::usleep(kMicrosecondsBetween);
    }
}

[[noreturn]] void BecomeWatcher(const ScriptSetup &setup, UniqueFd life)
{
    ::setsid();
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    const pid_t self = ::getpid();
    const pid_t script = ::fork();
    if (script == 0)
        BecomeScript(setup, self);
    if (script < 0) {
        const int error = errno;
        [[maybe_unused]] const ssize_t written = ::write(setup.failure, &error, sizeof error);
        ::_exit(1);
    }
    ::setpgid(script, script); // both processes do it, since either may be first
    ::close(setup.failure);
    ::close(setup.output);
    const int null = ::open("/dev/null", O_RDWR);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        ::dup2(null, stream);

    const sigset_t child_signal = ChildSignal();
    const int ends = ::signalfd(-1, &child_signal, SFD_CLOEXEC | SFD_NONBLOCK);
    pollfd events[2] = {{life.Get(), POLLIN, 0}, {ends, POLLIN, 0}};
    for (;;) {
        ::poll(events, 2, -1);
        if (events[0].revents != 0) {
            KillDescendants(script);
            ::_exit(1);
        }
        signalfd_siginfo ignored;
        while (::read(ends, &ignored, sizeof ignored) > 0) {
        }
        int status = 0;
        for (pid_t ended = 0; (ended = ::waitpid(-1, &status, WNOHANG)) > 0;)
            if (ended == script)
                ::_exit(ExitCodeOf(status));
    }
}

} // namespace

ScriptProcess::ScriptProcess(const std::string &script, const std::string &folder, int output)
{
    std::vector<std::string> words = ReadCommand(script);
    std::vector<char *> command;
    command.reserve(words.size() + 1);
    for (std::string &word : words)
        command.push_back(word.data());
    command.push_back(nullptr);

    Pipe life = MakePipe();
    Pipe failure = MakePipe();
    // Blocked, so that it can be waited for here and in the watcher.
    const sigset_t child_signal = ChildSignal();
    ::sigprocmask(SIG_BLOCK, &child_signal, nullptr);
    m_watcher = ::fork();
    if (m_watcher == 0) {
        life.writing.Reset();
        failure.reading.Reset();
        BecomeWatcher({command.data(), folder, output, failure.writing.Get()},
                      std::move(life.reading));
    }
    if (m_watcher < 0)
        throw SystemFailure(script);
    m_life = std::move(life.writing);
    failure.writing.Reset();
    int error = 0;
    if (::read(failure.reading.Get(), &error, sizeof error) == sizeof error) {
        ::waitpid(m_watcher, nullptr, 0);
        m_watcher = -1;
        throw SystemFailure(script, error);
    }
}

ScriptProcess::~ScriptProcess()
{
    if (m_watcher > 0) {
        m_life.Reset();
        ::waitpid(m_watcher, nullptr, 0);
    }
}

bool ScriptProcess::WaitFor(std::chrono::milliseconds limit)
{
    const sigset_t child_signal = ChildSignal();
    const std::chrono::nanoseconds nanoseconds = limit;
    const timespec time = {0, nanoseconds.count()};
    ::sigtimedwait(&child_signal, nullptr, &time);
    int status = 0;
    if (::waitpid(m_watcher, &status, WNOHANG) != m_watcher)
        return false;
    m_watcher = -1;
    m_exitCode = ExitCodeOf(status);
    return true;
}
