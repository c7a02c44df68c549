#pragma once

#include "base/unique_fd.h"
#include "write/disk_space.h"
#include "write/entry_path.h"

#include <mutex>
#include <set>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <utility>
#include <vector>

/// The files, folders and links that one run makes below the destination, and the memory of them:
/// only they may be linked to, and they are removed again when the run fails.
///
/// Any thread may add to it.
class NewTree
{
public:
    /// Makes the destination, the folder at \a path, if it is missing.
    NewTree(const std::string &path, std::uint64_t archive_size);

    int Destination() const { return m_destination.Get(); }
    DiskSpace &Space() { return m_space; }

    /// Makes the folder \a name in \a parent unless it is there. A top folder that was there loses
    /// its `version.info`: from now on it holds another version than that file states.
    void MakeFolder(int parent, const std::string &name, bool is_top);

    /// Makes a file, in place of a file or link that is there; it is open for writing. \a name is
    /// its name in \a folder for now; \a path is where it will be.
    UniqueFd MakeFile(const EntryPath &path, int folder, const std::string &name, mode_t mode);

    /// Makes a hard link to \a target_name in \a target_folder in the same way.
    void MakeHardLink(const EntryPath &path, int folder, const std::string &name, int target_folder,
                      const std::string &target_name);

    /// Makes a symbolic link that holds \a target in the same way.
    void MakeSymbolicLink(const EntryPath &path, int folder, const std::string &name,
                          const std::string &target);

    /// Whether this run has made \a file. A hard link to any other file would share its
    /// content: whoever changes the one later changes the other.
    bool HasMade(const struct stat &file);

    /// Removes what this run has made, as far as it can be.
    void Undo();

private:
    /// Runs \a make, and once more after removing what is in its way; a folder is not removed.
    /// Returns what \a make did.
    template <typename Make>
    int MakeInPlace(const EntryPath &path, int folder, const std::string &name, Make make);

    UniqueFd m_destination;
    DiskSpace m_space;

    std::mutex m_mutex;                        // guards all members below
    std::set<std::pair<dev_t, ino_t>> m_files; // that this run has made
    std::set<std::string> m_tops; // folders directly in the destination that this run has entered
    std::vector<std::string> m_made; // names directly in the destination that this run has made
};
