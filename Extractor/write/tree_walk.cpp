#include "write/tree_walk.h"

#include "base/failure.h"
#include "write/new_tree.h"

#include <fcntl.h>

namespace {

/// A handle that serves as a base for other calls, which needs no right to read the folder.
UniqueFd OpenFolder(int parent, const std::string &name)
{
    return UniqueFd(::openat(parent, name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

} // namespace

int TreeWalk::Make(const EntryPath &path)
{
    int parent = KeepCommon(path);
    while (m_levels.size() < path.size()) {
        const std::string &name = path[m_levels.size()];
        m_tree.MakeFolder(parent, name, m_levels.empty());
        UniqueFd folder = OpenFolder(parent, name);
        if (!folder)
            throw SystemFailure(JoinPath(path));
        parent = folder.Get();
        m_levels.push_back({name, std::move(folder)});
    }
    return parent;
}

int TreeWalk::Find(const EntryPath &path)
{
    int parent = KeepCommon(path);
    while (m_levels.size() < path.size()) {
        const std::string &name = path[m_levels.size()];
        UniqueFd folder = OpenFolder(parent, name);
        if (!folder)
            return -1;
        parent = folder.Get();
        m_levels.push_back({name, std::move(folder)});
    }
    return parent;
}

/// Closes what is not on the way to \a path; gives the handle of the last folder that is.
int TreeWalk::KeepCommon(const EntryPath &path)
{
    std::size_t common = 0;
    while (common < m_levels.size() && common < path.size()
           && m_levels[common].name == path[common])
        ++common;
    m_levels.erase(m_levels.begin() + static_cast<std::ptrdiff_t>(common), m_levels.end());
    return m_levels.empty() ? m_tree.Destination() : m_levels.back().folder.Get();
}
