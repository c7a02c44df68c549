#include "jobs.h"

#include "base/failure.h"
#include "base/memory_limit.h"
#include "base/unique_fd.h"
#include "base/worker_count.h"

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

const int kPatience = 200; // ms; a signal may come just before poll() waits

volatile std::sig_atomic_t caught_signal = 0;

void KeepSignal(int number)
{
    caught_signal = number;
}

void HandleInterruptions(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler; // without SA_RESTART, so that poll() ends
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        ::sigaction(number, &action, nullptr);
}

struct Job
{
    int number;
    pid_t process;
    UniqueFd output;
    QByteArray result;
};

void WriteAll(int file, const QByteArray &bytes)
{
    for (int done = 0; done < bytes.size();) {
        const ssize_t count =
            ::write(file, bytes.constData() + done, static_cast<size_t>(bytes.size() - done));
        if (count < 0)
            ::_exit(1);
        done += static_cast<int>(count);
    }
}

Job StartJob(int number, const std::function<QByteArray(int)> &work)
{
    int ends[2] = {};
    if (::pipe2(ends, O_CLOEXEC) != 0)
        throw SystemFailure("pipe");
    UniqueFd output(ends[0]);
    const UniqueFd input(ends[1]);
    const pid_t parent = ::getpid();
    const pid_t process = ::fork();
    if (process < 0)
        throw SystemFailure("fork");
    if (process == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent) // it had died before that call
            ::_exit(1);
        HandleInterruptions(SIG_IGN); // the parent decides what they mean
        LimitMemory();
        try {
            WriteAll(input.Get(), work(number));
            ::_exit(0);
        } catch (...) {
            ::_exit(1); // what is on the stack belongs to the parent
        }
    }
    return {number, process, std::move(output), QByteArray("")}; // empty, which is not null
}

/// Waits for the end of \a job, and returns what it wrote; null if it didn't end by itself.
QByteArray ResultOf(const Job &job)
{
    int status = 0;
    while (::waitpid(job.process, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? job.result : QByteArray();
}

/// Jobs at work. None outlives it.
struct RunningJobs : std::vector<Job>
{
    RunningJobs() = default;
    RunningJobs(const RunningJobs &) = delete;
    RunningJobs &operator=(const RunningJobs &) = delete;
    ~RunningJobs()
    {
        for (const Job &job : *this) {
            ::kill(job.process, SIGKILL);
            ResultOf(job);
        }
    }

    /// Waits until one of them writes something or ends; returns one that has ended.
    iterator Wait()
    {
        std::vector<pollfd> outputs;
        for (const Job &job : *this)
            outputs.push_back({job.output.Get(), POLLIN, 0});
        if (::poll(outputs.data(), outputs.size(), kPatience) < 0)
            return end();
        for (std::size_t i = 0; i < outputs.size(); ++i) {
            if (outputs[i].revents == 0)
                continue;
            char buffer[4096];
            const ssize_t count = ::read(outputs[i].fd, buffer, sizeof buffer);
            if (count <= 0)
                return begin() + static_cast<std::ptrdiff_t>(i);
            at(i).result.append(buffer, static_cast<int>(count));
        }
        return end();
    }
};

} // namespace

void CatchInterruptions()
{
    HandleInterruptions(KeepSignal);
}

void CheckInterrupted()
{
    if (caught_signal != 0)
        throw Interrupted();
}

void DieOfInterruption()
{
    HandleInterruptions(SIG_DFL);
    ::raise(caught_signal);
}

void RunJobs(int count, const std::function<QByteArray(int)> &work,
             const std::function<void(int, const QByteArray &)> &done)
{
    RunningJobs jobs;
    for (int next = 0; next < count || !jobs.empty();) {
        CheckInterrupted();
        if (next < count && jobs.size() < WorkerCount()) {
            jobs.push_back(StartJob(next++, work));
            continue;
        }
        const auto ended = jobs.Wait();
        if (ended == jobs.end())
            continue;
        const QByteArray result = ResultOf(*ended);
        const int number = ended->number;
        jobs.erase(ended);
        done(number, result);
    }
}
