#include "script/run_script.h"

#include "base/failure.h"
#include "script/percent_lines.h"
#include "script/script_process.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace {

constexpr std::chrono::milliseconds kBetweenLooks(100);

/// Without a "/" at its end; links in it remain, since the script may look at its own name.
std::string Absolute(const std::string &path)
{
    char here[PATH_MAX];
    if (path.front() != '/' && !::getcwd(here, sizeof here))
        throw SystemFailure(path);
    const std::string absolute = path.front() == '/' ? path : std::string(here) + "/" + path;
    return absolute.substr(0, absolute.find_last_not_of('/') + 1);
}

/// The script writes straight into the log, which is read from behind: through a pipe, a process
/// that it leaves running would die of its first word after the end of this run.
class Log
{
public:
    explicit Log(const std::string &name)
        : m_name(name)
    {
        ::unlink(name.c_str()); // a process of the last run may still write to it, or it is a link
        constexpr mode_t kMode = 0644;
        m_file =
            UniqueFd(::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, kMode));
        if (!m_file) {
            std::fprintf(stderr, "%s: %s\n", name.c_str(), std::strerror(errno));
            m_file = UniqueFd(
                ::memfd_create("log", MFD_CLOEXEC)); // without a log the script can still run
        }
        if (!m_file)
            throw SystemFailure(name);
    }
    ~Log()
    {
        const bool is_empty = Size() == 0;
        m_file.Reset();
        // No lease is to be had of a file that a process left running may still write to.
        const UniqueFd again(::open(m_name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
        if (is_empty && ::fcntl(again.Get(), F_SETLEASE, F_RDLCK) == 0)
            ::unlink(m_name.c_str());
    }
    Log(const Log &) = delete;
    Log &operator=(const Log &) = delete;

    int File() const { return m_file.Get(); }

    /// Reads what has come so far; a process that never stops talking doesn't hold this up.
    void Follow(PercentLines &lines)
    {
        const off_t size = Size();
        char text[4096];
        while (m_read < size) {
            const ssize_t got = ::pread(m_file.Get(), text, sizeof text, m_read);
            if (got <= 0)
                return;
            m_read += got;
            lines.Add({text, static_cast<std::size_t>(got)});
        }
    }

private:
    off_t Size() const
    {
        struct stat status = {};
        ::fstat(m_file.Get(), &status);
        return status.st_size;
    }

    const std::string m_name;
    UniqueFd m_file;
    off_t m_read = 0;
};

} // namespace

void RunScript(const std::string &script_path, const std::string &folder_path, Progress &progress)
{
    const std::string script = Absolute(script_path);
    const std::string folder = Absolute(folder_path);
    Log log(folder.substr(folder.rfind('/') + 1) + "_install.log");
    PercentLines lines(progress);
    ScriptProcess process(script, folder, log.File());
    while (!process.WaitFor(kBetweenLooks))
        log.Follow(lines);
    log.Follow(lines);
    lines.End();
    if (process.ExitCode() != 0) {
        throw Failure(script_path + ": ended with code " + std::to_string(process.ExitCode()),
                      process.ExitCode());
    }
}
