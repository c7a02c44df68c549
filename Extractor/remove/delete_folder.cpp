#include "remove/delete_folder.h"

#include "base/failure.h"
#include "base/unique_fd.h"
#include "remove/remove_tree.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>

namespace {

bool IsSame(const struct stat &a, const struct stat &b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

/// Whether \a folder is the one at \a inner or one above it, whatever names lead to it.
bool Encloses(const struct stat &folder, const std::string &inner)
{
    UniqueFd level(::open(inner.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct stat status = {};
    struct stat below = {};
    while (level && ::fstat(level.Get(), &status) == 0 && !IsSame(status, below)) {
        if (IsSame(status, folder))
            return true;
        below = status; // the root is its own parent
        level = UniqueFd(::openat(level.Get(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC));
    }
    return false;
}

std::string OwnFolder()
{
    std::string path(PATH_MAX, '\0');
    const ssize_t size = ::readlink("/proc/self/exe", path.data(), path.size());
    path.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return path.substr(0, path.rfind('/') + 1);
}

// To lose one of these is to lose the machine, whoever asks for it.
constexpr const char *kSystemFolders[] = {"/bin", "/boot", "/dev",  "/etc", "/home", "/lib",
                                          "/opt", "/proc", "/root", "/run", "/sbin", "/srv",
                                          "/sys", "/tmp",  "/usr",  "/var"};

bool IsProtected(const struct stat &folder)
{
    const char *const home = std::getenv("HOME");
    const passwd *const user = ::getpwuid(::getuid());
    return std::any_of(std::begin(kSystemFolders), std::end(kSystemFolders),
                       [&folder](const char *inner) { return Encloses(folder, inner); })
           || Encloses(folder, ".") || (home && Encloses(folder, home))
           || (user && user->pw_dir && Encloses(folder, user->pw_dir))
           || Encloses(folder, OwnFolder());
}

} // namespace

void DeleteFolder(const std::string &path, Progress &progress)
{
    const std::size_t end = path.find_last_not_of('/');
    if (end == std::string::npos)
        throw Failure("refusing to delete \"" + path + "\"");
    const std::string clean = path.substr(0, end + 1);
    const std::size_t slash = clean.rfind('/');
    const std::string name = clean.substr(slash + 1); // npos + 1 is 0
    const std::string above = slash == std::string::npos ? "." : clean.substr(0, slash + 1);
    if (name == "." || name == "..")
        throw Failure("refusing to delete " + path);

    const UniqueFd parent(::open(above.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct stat status = {};
    if (!parent || ::fstatat(parent.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENOENT && errno != ENOTDIR)
            throw SystemFailure(path);
    } else {
        // A link to a system folder is refused, too: programs may find the folder by it.
        ::fstatat(parent.Get(), name.c_str(), &status, 0);
        if (IsProtected(status))
            throw Failure("refusing to delete " + path);
        RemoveTree(parent.Get(), name, &progress);
    }
    progress.Finish();
}
