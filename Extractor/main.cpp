#include "base/failure.h"
#include "base/memory_limit.h"
#include "base/progress.h"
#include "commands.h"
#include "remove/delete_folder.h"
#include "script/run_script.h"
#include "unpack.h"

#include <algorithm>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <langinfo.h>
#include <string>
#include <vector>

namespace {

constexpr int kBadUsage = 2;
constexpr std::size_t kLongestComplaint = 1000; // bytes

std::string Usage()
{
    std::string usage = "usage:";
    const auto add = [&usage](const std::string &command, const std::string &arguments) {
        usage += usage.back() == ':' ? " " : "\n       ";
        usage += "zeft_fextr_cmd \"" + command + "\" " + arguments;
    };
    add(kUnpackZipCommand, R"("#ARCHIVE" "#DESTINATION")");
    add(kUnpackTarCommand, R"("#ARCHIVE" "#DESTINATION")");
    add(kDeleteFolderCommand, R"("#FOLDER")");
    add(kRunScriptCommand, R"("#SCRIPT" "#FOLDER" ")" + std::string(kCloseWord) + '"');
    return usage + "\n       zeft_fextr_cmd --help | --version";
}

// For printf, with the usage and the four commands.
constexpr char kHelp[] = R"(%s

Each word is one argument, and every path comes with a "#" before it; a shell needs the quotes.

  "%s", "%s"  unpack the archive into the folder; its content tells how
  "%s"           delete the folder with all that it holds
  "%s"        run the script in the folder, to its end
  --help            print this text
  --version         print the version

Standard output gets the percent done. The exit code is 0 for success, 1 for a failure and 2 for
wrong arguments; a script that fails gives its own.
)";

/// Opens the null device for each standard stream that the caller has closed. Else the next file
/// that is opened would become standard output, and get the percent lines.
void OpenMissingStreams()
{
    while (true) {
        const int fd = ::open("/dev/null", O_RDWR);
        if (fd < 0)
            return;
        if (fd > STDERR_FILENO) {
            ::close(fd);
            return;
        }
    }
}

/// libarchive converts names to the locale's encoding, and refuses those that the locale "C" has no
/// letters for.
void ChooseLocale()
{
    if (!std::setlocale(LC_CTYPE, "") || std::strcmp(::nl_langinfo(CODESET), "UTF-8") != 0)
        std::setlocale(LC_CTYPE, "C.UTF-8");
}

/// Every path comes with a "#" before it.
std::string PathOf(const std::string &argument)
{
    if (argument.size() < 2 || argument.front() != '#')
        throw Failure("\"" + argument + "\" is not \"#\" and a path\n" + Usage(), kBadUsage);
    return argument.substr(1);
}

/// Shortens \a text and replaces control characters: it may hold names from archives, which can be
/// long and could control a terminal.
void Complain(std::string text)
{
    text.resize(std::min(text.size(), kLongestComplaint));
    std::replace_if(
        text.begin(), text.end(),
        [](unsigned char letter) { return letter < ' ' && letter != '\n'; }, '?');
    std::fprintf(stderr, "zeft_fextr_cmd: %s\n", text.c_str());
}

int Run(const std::vector<std::string> &arguments)
{
    const std::string command = arguments.empty() ? "" : arguments[0];
    if (command == "--help" && arguments.size() == 1) {
        std::printf(kHelp, Usage().c_str(), kUnpackZipCommand, kUnpackTarCommand,
                    kDeleteFolderCommand, kRunScriptCommand);
        return 0;
    }
    if (command == "--version" && arguments.size() == 1) {
        std::puts("zeft_fextr_cmd " ZEFT_VERSION);
        return 0;
    }
    Progress progress;
    // The two words differ for the caller alone: the content tells how to unpack.
    if ((command == kUnpackZipCommand || command == kUnpackTarCommand) && arguments.size() == 3) {
        LimitMemory();
        progress.Start();
        Unpack(PathOf(arguments[1]), PathOf(arguments[2]), Purpose::Install, progress);
        return 0;
    }
    if (command == kDeleteFolderCommand && arguments.size() == 2) {
        progress.Start();
        DeleteFolder(PathOf(arguments[1]), progress);
        return 0;
    }
    if (command == kRunScriptCommand && arguments.size() == 4 && arguments[3] == kCloseWord) {
        RunScript(PathOf(arguments[1]), PathOf(arguments[2]), progress);
        return 0;
    }
    throw Failure(Usage(), kBadUsage);
}

} // namespace

int main(int argc, char *argv[])
{
    OpenMissingStreams();
    // Writing to a closed pipe or beyond a limit on file sizes shall fail, not kill the process.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGCHLD, SIG_DFL); // a caller may have it ignored, and then no child's end is told
    ChooseLocale();
    try {
        return Run({argv + std::min(1, argc), argv + argc});
    } catch (const Failure &failure) {
        Complain(failure.what());
        return failure.ExitCode();
    } catch (const std::exception &failure) {
        Complain(failure.what());
        return 1;
    }
}
