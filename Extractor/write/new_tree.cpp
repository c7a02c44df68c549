#include "write/new_tree.h"

#include "Repository/fixed_names.h"
#include "base/failure.h"
#include "remove/remove_tree.h"

#include <fcntl.h>

namespace {

/// Like `mkdir -p`.
UniqueFd OpenDestination(const std::string &path)
{
    for (std::size_t end = 0; end != std::string::npos;) {
        end = path.find('/', end + 1);
        const std::string part = path.substr(0, end);
        if (::mkdir(part.c_str(), 0777) != 0 && errno != EEXIST && errno != EROFS
            && errno != EACCES)
            throw SystemFailure(part);
    }
    UniqueFd folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder)
        throw SystemFailure(path);
    return folder;
}

} // namespace

NewTree::NewTree(const std::string &path, std::uint64_t archive_size)
    : m_destination(OpenDestination(path))
    , m_space(m_destination.Get(), archive_size)
{
}

template <typename Make>
int NewTree::MakeInPlace(const EntryPath &path, int folder, const std::string &name, Make make)
{
    int made = make();
    const bool is_new = made >= 0;
    if (!is_new && errno == EEXIST && ::unlinkat(folder, name.c_str(), 0) == 0)
        made = make();
    if (made < 0)
        throw SystemFailure(JoinPath(path));
    if (is_new && path.size() == 1) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_made.push_back(name);
    }
    return made;
}

void NewTree::MakeFolder(int parent, const std::string &name, bool is_top)
{
    // Two threads must agree on who has made a top folder.
    std::unique_lock<std::mutex> lock(m_mutex, std::defer_lock);
    if (is_top) {
        lock.lock();
        if (!m_tops.insert(name).second)
            return;
    }
    m_space.Take(0, 1);
    if (::mkdirat(parent, name.c_str(), 0777) == 0) {
        if (is_top)
            m_made.push_back(name);
    } else if (errno != EEXIST) {
        throw SystemFailure(name);
    } else if (is_top) {
        const UniqueFd top(
            ::openat(parent, name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        for (const char *const old : {kVersionInfo, kStagedVersionInfo})
            if (top && ::unlinkat(top.Get(), old, 0) != 0 && errno != ENOENT)
                throw SystemFailure(JoinPath({name, old}));
    }
}

UniqueFd NewTree::MakeFile(const EntryPath &path, int folder, const std::string &name, mode_t mode)
{
    m_space.Take(0, 1);
    UniqueFd file(MakeInPlace(path, folder, name, [&] {
        return ::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                        mode);
    }));
    struct stat status = {};
    ::fstat(file.Get(), &status);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_files.emplace(status.st_dev, status.st_ino);
    return file;
}

void NewTree::MakeHardLink(const EntryPath &path, int folder, const std::string &name,
                           int target_folder, const std::string &target_name)
{
    MakeInPlace(path, folder, name, [&] {
        return ::linkat(target_folder, target_name.c_str(), folder, name.c_str(), 0);
    });
}

void NewTree::MakeSymbolicLink(const EntryPath &path, int folder, const std::string &name,
                               const std::string &target)
{
    MakeInPlace(path, folder, name,
                [&] { return ::symlinkat(target.c_str(), folder, name.c_str()); });
}

bool NewTree::HasMade(const struct stat &file)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_files.count({file.st_dev, file.st_ino}) > 0;
}

void NewTree::Undo()
{
    for (const std::string &name : m_made) {
        try {
            RemoveTree(m_destination.Get(), name);
        } catch (const Failure &) {
            // The failure that led here is the one to tell.
        }
    }
}
