#include "write/destination.h"

#include "base/failure.h"
#include "remove/remove_tree.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

const std::string kVersionInfo = "version.info";
const std::string kWaitingVersionInfo = ".version.info.unpacking";
constexpr std::size_t kMostWaitingBytes = std::size_t{256} * 1024 * 1024; // in memory

/// Like `mkdir -p`.
UniqueFd OpenDestination(const std::string &path)
{
    for (std::size_t end = 0; end != std::string::npos;) {
        end = path.find('/', end + 1);
        const std::string part = path.substr(0, end);
        if (::mkdir(part.c_str(), 0777) != 0 && errno != EEXIST && errno != EROFS
            && errno != EACCES) {
            throw SystemFailure(part);
        }
    }
    UniqueFd folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) {
        throw SystemFailure(path);
    }
    return folder;
}

/// It can't be asked for without being set.
mode_t CurrentMask()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return mask;
}

} // namespace

Destination::Destination(const std::string &path, std::uint64_t archiveSize)
    : m_folder(OpenDestination(path))
    , m_mask(CurrentMask())
    , m_space(m_folder.Get(), archiveSize)
{
}

template <typename Make>
int Destination::MakeInPlace(const EntryPath &path, int folder, const std::string &name, Make make)
{
    int made = make();
    const bool isNew = made >= 0;
    if (!isNew && errno == EEXIST && ::unlinkat(folder, name.c_str(), 0) == 0) {
        made = make();
    }
    if (made < 0) {
        throw SystemFailure(JoinPath(path));
    }
    if (isNew && path.size() == 1) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_made.push_back(name);
    }
    return made;
}

void Destination::MakeFolder(int parent, const std::string &name, bool isTop)
{
    // Two threads must agree on who has made a top folder.
    std::unique_lock<std::mutex> lock(m_mutex, std::defer_lock);
    if (isTop) {
        lock.lock();
        if (!m_tops.insert(name).second) {
            return;
        }
    }
    m_space.Take(0, 1);
    if (::mkdirat(parent, name.c_str(), 0777) == 0) {
        if (isTop) {
            m_made.push_back(name);
        }
    } else if (errno != EEXIST) {
        throw SystemFailure(name);
    } else if (isTop) {
        const UniqueFd top(
            ::openat(parent, name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        for (const std::string &old : {kVersionInfo, kWaitingVersionInfo}) {
            if (top && ::unlinkat(top.Get(), old.c_str(), 0) != 0 && errno != ENOENT) {
                throw SystemFailure(JoinPath({name, old}));
            }
        }
    }
}

UniqueFd Destination::MakeFile(const EntryPath &path, int folder, const std::string &name,
                               mode_t mode)
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
    m_links.erase(path);
    return file;
}

void Destination::SetAttributesLater(const EntryPath &folder, const Attributes &attributes)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    TakeMemory(folder, 0);
    m_attributes[folder] = attributes;
}

void Destination::LinkLater(const EntryPath &path, const std::string &target)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    KeepLink(path, target);
}

void Destination::KeepLink(const EntryPath &path, const std::string &target)
{
    m_space.Take(target.size(), 1);
    TakeMemory(path, target.size());
    m_links[path] = target;
}

/// A name of few bytes can have many parts.
void Destination::TakeMemory(const EntryPath &path, std::size_t textSize)
{
    m_waitingBytes += textSize;
    for (const std::string &part : path) {
        m_waitingBytes += sizeof(std::string) + part.size();
    }
    if (m_waitingBytes > kMostWaitingBytes) {
        throw Failure("holds too many links and folders");
    }
}

void Destination::LinkNow(TreeWalk &walk, const EntryPath &path, const EntryPath &target)
{
    {
        // A second name of a symbolic link is a link of the same text.
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto link = m_links.find(target);
        if (link != m_links.end()) {
            KeepLink(path, std::string(link->second));
            return;
        }
        m_links.erase(path);
    }
    if (target.empty()) {
        throw Failure(JoinPath(path) + ": links to a folder");
    }
    const std::string targetName = Waiting(target);
    const int found = walk.Find(ParentOf(target));
    const UniqueFd targetFolder(found < 0 ? -1 : ::fcntl(found, F_DUPFD_CLOEXEC, 0));
    struct stat status = {};
    if (!targetFolder
        || ::fstatat(targetFolder.Get(), targetName.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0
        || !IsMade(status)) {
        throw Failure(JoinPath(path) + ": links to " + JoinPath(target)
                      + ", which is no file of the archive");
    }
    if (path == target) {
        return; // tar writes a file that it is told to pack twice so
    }
    const int folder = walk.Make(ParentOf(path));
    const std::string name = Waiting(path);
    MakeInPlace(path, folder, name, [&] {
        return ::linkat(targetFolder.Get(), targetName.c_str(), folder, name.c_str(), 0);
    });
}

/// Whether this run has made \a file: by a hard link to one that was there before, whoever changes
/// the one later changes the other.
bool Destination::IsMade(const struct stat &file)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_files.count({file.st_dev, file.st_ino}) > 0;
}

std::string Destination::Waiting(const EntryPath &path)
{
    if (!IsVersionInfo(path)) {
        return path.back();
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_waiting.insert(path.front());
    return kWaitingVersionInfo;
}

void Destination::Complete()
{
    if (!m_hasEntries) {
        throw Failure("holds nothing");
    }
    TreeWalk walk(*this);
    MakeLinks(walk);
    SetAttributes(walk, false);
    if (m_waiting.empty()) {
        return;
    }
    // A version.info that outlives a power cut says that all else has outlived it. The archive may
    // be deleted after this run, so the version.info, too, has to be on the disk by then.
    Sync();
    RevealVersionInfos(walk);
    SetAttributes(walk, true);
    Sync();
}

void Destination::Undo()
{
    for (const std::string &name : m_made) {
        try {
            RemoveTree(m_folder.Get(), name);
        } catch (const Failure &) {
            // The failure that led here is the one to tell.
        }
    }
}

void Destination::MakeLinks(TreeWalk &walk)
{
    for (const auto &[path, target] : m_links) {
        CheckLink(walk, path, target);
        const int folder = walk.Make(ParentOf(path));
        const std::string name = Waiting(path);
        MakeInPlace(path, folder, name, [&, &text = target] {
            return ::symlinkat(text.c_str(), folder, name.c_str());
        });
    }
}

/// Follows the target name by name from the link's folder. Only a real folder may be left again by
/// "..": behind another link, or a name that is not there yet, it could be anywhere.
void Destination::CheckLink(TreeWalk &walk, const EntryPath &path, const std::string &target)
{
    const Failure leadsOut(JoinPath(path) + ": links to " + target
                           + ", which leads out of the destination");
    if (target.empty() || target.front() == '/') {
        throw leadsOut;
    }
    EntryPath place = ParentOf(path);
    std::size_t real = place.size(); // how many of its folders are known to be no links
    for (std::size_t begin = 0; begin < target.size();) {
        const std::size_t end = std::min(target.find('/', begin), target.size());
        const std::string part = target.substr(begin, end - begin);
        if (part == "..") {
            if (place.empty() || (place.size() > real && walk.Find(place) < 0)) {
                throw leadsOut;
            }
            place.pop_back();
            real = place.size();
        } else if (!part.empty() && part != ".") {
            place.push_back(part);
        }
        begin = end + 1;
    }
}

/// Deepest first, since a folder's permissions can close the way to those in it.
void Destination::SetAttributes(TreeWalk &walk, bool ofWaiting)
{
    for (auto it = m_attributes.rbegin(); it != m_attributes.rend(); ++it) {
        const auto &[path, attributes] = *it;
        if ((path.size() == 1 && m_waiting.count(path.front()) > 0) != ofWaiting) {
            continue;
        }
        const UniqueFd folder(::openat(walk.Make(ParentOf(path)), path.back().c_str(),
                                       O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!folder || ::fchmod(folder.Get(), attributes.mode & ~m_mask) != 0) {
            throw SystemFailure(JoinPath(path));
        }
        if (attributes.modified) {
            const timespec times[2] = {{0, UTIME_OMIT}, *attributes.modified};
            ::futimens(folder.Get(), times);
        }
    }
}

void Destination::Sync()
{
    if (::syncfs(m_folder.Get()) != 0) {
        throw SystemFailure("writing to the disk");
    }
}

void Destination::RevealVersionInfos(TreeWalk &walk)
{
    for (const std::string &top : m_waiting) {
        const int folder = walk.Make({top});
        if (::renameat(folder, kWaitingVersionInfo.c_str(), folder, kVersionInfo.c_str()) != 0) {
            throw SystemFailure(JoinPath({top, kVersionInfo}));
        }
    }
}
