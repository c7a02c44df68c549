#include "remove/remove_tree.h"

#include "Repository/fixed_names.h"
#include "base/failure.h"
#include "base/unique_fd.h"

#include <algorithm>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace {

constexpr std::size_t kOpenLevels = 64; // open at a time: a process has few handles
constexpr int kMostListings = 8;        // of one folder, should somebody else keep filling it

struct CloseFolder
{
    void operator()(DIR *folder) const { ::closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

Folder ListFolder(UniqueFd fd)
{
    Folder folder(fd ? ::fdopendir(fd.Get()) : nullptr);
    if (folder)
        static_cast<void>(fd.Release()); // now the folder's
    return folder;
}

/// What tells one folder from all others.
struct Identity
{
    unsigned device_major;
    unsigned device_minor;
    std::uint64_t inode;
};

bool operator!=(const Identity &a, const Identity &b)
{
    return a.inode != b.inode || a.device_major != b.device_major
           || a.device_minor != b.device_minor;
}

class TreeRemover
{
public:
    TreeRemover(int base, Progress *progress)
        : m_base(base)
        , m_progress(progress)
    {
    }

    void Remove(const std::string &name)
    {
        struct stat status = {};
        if (::fstatat(m_base, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            if (errno != ENOENT)
                Keep(name, errno);
        } else if (!S_ISDIR(status.st_mode)) {
            RemoveFile(m_base, name);
        } else {
            Enter(m_base, name, 1.0);
        }
        while (!m_levels.empty()) {
            Level &level = m_levels.back();
            if (level.folders.empty()) {
                Leave();
            } else {
                const std::string next = std::move(level.folders.back());
                level.folders.pop_back();
                Enter(::dirfd(level.folder.get()), next, level.share);
            }
        }
        if (m_failure)
            throw Failure(*m_failure);
    }

private:
    /// A folder on the way from the tree's top to where the work is.
    struct Level
    {
        std::string name; // in the level above
        Folder folder;    // null while kOpenLevels deeper ones are open
        Identity identity;
        std::vector<std::string> folders; // in it, still to be removed
        double share;                     // of the whole work, for each entry in it
        int listings = 0;
    };

    void Enter(int parent, const std::string &name, double share)
    {
        const auto open = [&] {
            return ListFolder(UniqueFd(
                ::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)));
        };
        Folder folder = open();
        if (!folder && errno == EACCES
            && ::fchmodat(parent, name.c_str(), S_IRWXU, AT_SYMLINK_NOFOLLOW) == 0)
            folder = open();
        struct statx status = {};
        if (!folder
            || ::statx(::dirfd(folder.get()), "", AT_EMPTY_PATH,
                       STATX_TYPE | STATX_MODE | STATX_INO, &status)
                   != 0) {
            Keep(name, errno);
            return;
        }
        const Identity identity = {status.stx_dev_major, status.stx_dev_minor, status.stx_ino};
        if ((status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0
            || (!m_levels.empty()
                && (identity.device_major != m_levels.front().identity.device_major
                    || identity.device_minor != m_levels.front().identity.device_minor))) {
            Keep(name, EXDEV);
            return;
        }
        if ((status.stx_mode & S_IRWXU) != S_IRWXU) {
            // If it fails, so does the removal of what is in the folder, which is told.
            ::fchmod(::dirfd(folder.get()), S_IRWXU);
        }
        if (m_levels.empty()) {
            // A component is no longer whole from now on, and so it stays if this run is killed.
            ::unlinkat(::dirfd(folder.get()), kVersionInfo, 0);
        }
        m_levels.push_back({name, std::move(folder), identity, {}, share});
        if (m_levels.size() > kOpenLevels)
            m_levels[m_levels.size() - kOpenLevels - 1].folder.reset();
        List(m_levels.back());
    }

    /// Removes all but the folders in \a level, and remembers these.
    void List(Level &level)
    {
        ++level.listings;
        const int fd = ::dirfd(level.folder.get());
        std::vector<std::pair<ino_t, std::string>> files;
        while (const dirent *const entry = ::readdir(level.folder.get())) {
            const std::string name = entry->d_name;
            if (name == "." || name == "..")
                continue;
            if (IsFolder(fd, *entry))
                level.folders.push_back(name);
            else
                files.emplace_back(entry->d_ino, name);
        }
        level.share /= static_cast<double>(files.size() + level.folders.size() + 1);
        // Inodes mostly lie on the disk in this order, so that many files need less seeking.
        std::sort(files.begin(), files.end());
        for (const auto &[inode, file] : files) {
            RemoveFile(fd, file);
            Count(level.share);
        }
    }

    static bool IsFolder(int parent, const dirent &entry)
    {
        if (entry.d_type != DT_UNKNOWN)
            return entry.d_type == DT_DIR;
        struct stat status = {};
        return ::fstatat(parent, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0
               && S_ISDIR(status.st_mode);
    }

    void RemoveFile(int parent, const std::string &name)
    {
        if (::unlinkat(parent, name.c_str(), 0) != 0 && errno != ENOENT)
            Keep(name, errno);
    }

    /// Removes the innermost folder, which should be empty by now.
    void Leave()
    {
        Level &level = m_levels.back();
        const int parent = Parent(level);
        if (parent >= 0 && ::unlinkat(parent, level.name.c_str(), AT_REMOVEDIR) != 0
            && errno != ENOENT) {
            if ((errno == ENOTEMPTY || errno == EEXIST) && !m_failure
                && level.listings < kMostListings) {
                ::rewinddir(level.folder.get());
                List(level);
                return;
            }
            const int error = errno;
            const std::string name = std::move(level.name);
            m_levels.pop_back();
            Keep(name, error);
            return;
        }
        Count(level.share);
        m_levels.pop_back();
    }

    /// The handle of the folder above \a level, the innermost one; -1 if it is there no more.
    int Parent(const Level &level)
    {
        if (m_levels.size() == 1)
            return m_base;
        Level &above = m_levels[m_levels.size() - 2];
        if (!above.folder) {
            Folder folder = ListFolder(UniqueFd(
                ::openat(::dirfd(level.folder.get()), "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
            struct statx status = {};
            if (!folder
                || ::statx(::dirfd(folder.get()), "", AT_EMPTY_PATH, STATX_INO, &status) != 0
                || Identity{status.stx_dev_major, status.stx_dev_minor, status.stx_ino}
                       != above.identity) {
                // Somebody has moved the folder away: what lies around it now is not ours.
                throw Failure(level.name + ": was moved while it was being removed");
            }
            above.folder = std::move(folder);
        }
        return ::dirfd(above.folder.get());
    }

    /// Notes that \a name in the innermost folder stays; the first one is told in the end.
    void Keep(const std::string &name, int error)
    {
        if (m_failure)
            return;
        std::string path;
        for (const Level &level : m_levels)
            path += level.name + "/";
        m_failure = error == EXDEV ? Failure(path + name + ": another file system is mounted there")
                                   : SystemFailure(path + name, error);
    }

    void Count(double share)
    {
        constexpr double kScale = 1e6;
        m_done += share;
        if (m_progress)
            m_progress->Reach(static_cast<std::uint64_t>(m_done * kScale),
                              static_cast<std::uint64_t>(kScale));
    }

    const int m_base;
    Progress *const m_progress;
    std::vector<Level> m_levels; // outermost first
    double m_done = 0.0;         // of 1.0
    std::optional<Failure> m_failure;
};

} // namespace

void RemoveTree(int parent, const std::string &name, Progress *progress)
{
    TreeRemover(parent, progress).Remove(name);
}
