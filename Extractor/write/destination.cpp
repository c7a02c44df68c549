#include "write/destination.h"

#include "Repository/fixed_names.h"
#include "base/failure.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr std::size_t kMostKeptBytes =
    std::size_t{256} * 1024 * 1024; // of links and attributes in memory

/// The process's umask. It can only be read by setting it.
mode_t CurrentMask()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return mask;
}

} // namespace

Destination::Destination(const std::string &path, std::uint64_t archive_size,
                         const std::string &only_folder)
    : m_tree(path, archive_size)
    , m_onlyFolder(only_folder)
    , m_mask(CurrentMask())
{
}

bool Destination::Wants(const EntryPath &path) const
{
    return m_onlyFolder.empty() ? !path.empty() // the destination itself stays what it is
                                : path.size() > 1 && path.front() == m_onlyFolder;
}

NewFile Destination::MakeFile(TreeWalk &walk, const EntryPath &path, mode_t mode)
{
    const int folder = walk.Make(ParentOf(path));
    const std::string name = StagingName(path);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_links.erase(path);
    }
    return NewFile(m_tree.MakeFile(path, folder, name, mode), folder, name, m_tree.Space());
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
    m_tree.Space().Take(target.size(), 1);
    TakeMemory(path, target.size());
    m_links[path] = target;
}

/// Counts the memory of what is kept; a path of few bytes can have many parts.
void Destination::TakeMemory(const EntryPath &path, std::size_t text_size)
{
    m_keptBytes += text_size;
    for (const std::string &part : path)
        m_keptBytes += sizeof(std::string) + part.size();
    if (m_keptBytes > kMostKeptBytes)
        throw Failure("holds too many links and folders");
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
    if (target.empty())
        throw Failure(JoinPath(path) + ": links to a folder");
    const std::string target_name = StagingName(target);
    const int found = walk.Find(ParentOf(target));
    const UniqueFd target_folder(found < 0 ? -1 : ::fcntl(found, F_DUPFD_CLOEXEC, 0));
    struct stat status = {};
    if (!target_folder
        || ::fstatat(target_folder.Get(), target_name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0
        || !m_tree.HasMade(status)) {
        throw Failure(JoinPath(path) + ": links to " + JoinPath(target)
                      + ", which is no file of the archive");
    }
    if (path == target)
        return; // tar stores a file that it was told to pack twice as a link to itself
    const int folder = walk.Make(ParentOf(path));
    const std::string name = StagingName(path);
    m_tree.MakeHardLink(path, folder, name, target_folder.Get(), target_name);
}

/// The name under which the file at \a path is made: a `version.info` gets its own at the end.
std::string Destination::StagingName(const EntryPath &path)
{
    if (!IsVersionInfo(path))
        return path.back();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_staged.insert(path.front());
    return kStagedVersionInfo;
}

void Destination::Complete(bool is_synced)
{
    if (!m_hasEntries)
        throw Failure("holds nothing");
    TreeWalk walk(m_tree);
    MakeLinks(walk);
    SetAttributes(walk, false);
    if (m_staged.empty())
        return;
    // A version.info that outlives a power cut says that all else has outlived it. The archive may
    // be deleted after this run, so the version.info, too, has to be on the disk by then.
    if (is_synced)
        Sync();
    RevealVersionInfos(walk);
    SetAttributes(walk, true);
    if (is_synced)
        Sync();
}

void Destination::MakeLinks(TreeWalk &walk)
{
    for (const auto &[path, target] : m_links) {
        CheckLink(walk, path, target);
        const int folder = walk.Make(ParentOf(path));
        m_tree.MakeSymbolicLink(path, folder, StagingName(path), target);
    }
}

/// Follows the target name by name from the link's folder. Only a real folder may be left again by
/// "..": behind another link, or a name that is not there yet, it could be anywhere.
void Destination::CheckLink(TreeWalk &walk, const EntryPath &path, const std::string &target)
{
    const Failure leads_out(JoinPath(path) + ": links to " + target
                            + ", which leads out of the destination");
    if (target.empty() || target.front() == '/')
        throw leads_out;
    EntryPath place = ParentOf(path);
    std::size_t real = place.size(); // how many of its folders are known to be no links
    for (std::size_t begin = 0; begin < target.size();) {
        const std::size_t end = std::min(target.find('/', begin), target.size());
        const std::string part = target.substr(begin, end - begin);
        if (part == "..") {
            if (place.empty() || (place.size() > real && walk.Find(place) < 0))
                throw leads_out;
            place.pop_back();
            real = place.size();
        } else if (!part.empty() && part != ".") {
            place.push_back(part);
        }
        begin = end + 1;
    }
}

/// Deepest first, since a folder's permissions can close the way to those in it.
void Destination::SetAttributes(TreeWalk &walk, bool of_staged)
{
    for (auto it = m_attributes.rbegin(); it != m_attributes.rend(); ++it) {
        const auto &[path, attributes] = *it;
        if ((path.size() == 1 && m_staged.count(path.front()) > 0) != of_staged)
            continue;
        const UniqueFd folder(::openat(walk.Make(ParentOf(path)), path.back().c_str(),
                                       O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!folder || ::fchmod(folder.Get(), attributes.mode & ~m_mask) != 0)
            throw SystemFailure(JoinPath(path));
        if (attributes.modified) {
            const timespec times[2] = {{0, UTIME_OMIT}, *attributes.modified};
            ::futimens(folder.Get(), times);
        }
    }
}

void Destination::Sync()
{
    if (::syncfs(m_tree.Destination()) != 0)
        throw SystemFailure("writing to the disk");
}

void Destination::RevealVersionInfos(TreeWalk &walk)
{
    for (const std::string &top : m_staged) {
        const int folder = walk.Make({top});
        if (::renameat(folder, kStagedVersionInfo, folder, kVersionInfo) != 0)
            throw SystemFailure(JoinPath({top, kVersionInfo}));
    }
}
