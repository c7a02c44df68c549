#pragma once

#include "base/unique_fd.h"
#include "write/disk_space.h"
#include "write/entry_path.h"
#include "write/tree_walk.h"

#include <atomic>
#include <ctime>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

/// The folder that an archive is unpacked to, and what has to wait until all files are there:
/// links, so that nothing can ever be written through one; the folders' own permissions, which may
/// forbid to write into them; and each `version.info` directly in a top folder, since it makes a
/// component count as installed and may not be there before all the rest.
///
/// Any thread may add to it.
class Destination
{
public:
    /// Makes the folder if it is missing.
    Destination(const std::string &path, std::uint64_t archiveSize);

    int Folder() const { return m_folder.Get(); }
    DiskSpace &Space() { return m_space; }

    /// Makes the folder \a name in \a parent unless it is there. A top folder that was there loses
    /// its `version.info`: from now on it isn't what that file says.
    void MakeFolder(int parent, const std::string &name, bool isTop);

    /// Makes the file at \a path, in place of a file or link that is there; it is open for writing.
    /// \a name is the last part of the path, or what Waiting() made of it.
    UniqueFd MakeFile(const EntryPath &path, int folder, const std::string &name, mode_t mode);

    /// Says that the archive has an entry, whatever it is.
    void NoteEntry() { m_hasEntries = true; }

    struct Attributes
    {
        mode_t mode;
        std::optional<timespec> modified;
    };
    void SetAttributesLater(const EntryPath &folder, const Attributes &attributes);
    void LinkLater(const EntryPath &path, const std::string &target);
    void LinkNow(TreeWalk &walk, const EntryPath &path, const EntryPath &target);

    /// The name under which the file at \a path is made: a `version.info` gets one that means
    /// nothing to anybody, and its own at the end.
    std::string Waiting(const EntryPath &path);

    /// Does all that had to wait, and has a component written to the disk; an archive without an
    /// entry is a Failure.
    void Complete();

    /// Removes what this run has made, as far as it can be.
    void Undo();

private:
    /// Runs \a make, which makes \a name of \a path in \a folder, and once more after removing
    /// what is in its way; a folder is not removed. Returns what \a make did.
    template <typename Make>
    int MakeInPlace(const EntryPath &path, int folder, const std::string &name, Make make);
    bool IsMade(const struct stat &file);
    void KeepLink(const EntryPath &path, const std::string &target);
    void TakeMemory(const EntryPath &path, std::size_t textSize);
    void MakeLinks(TreeWalk &walk);
    void CheckLink(TreeWalk &walk, const EntryPath &path, const std::string &target);
    void SetAttributes(TreeWalk &walk, bool ofWaiting);
    void Sync();
    void RevealVersionInfos(TreeWalk &walk);

    UniqueFd m_folder;
    const mode_t m_mask; // what the user takes from the permissions of all that is new
    DiskSpace m_space;
    std::atomic<bool> m_hasEntries{false};

    std::mutex m_mutex;                        // of all below
    std::set<std::pair<dev_t, ino_t>> m_files; // that this run has made
    std::set<std::string> m_tops; // folders directly in the destination that this run has entered
    std::vector<std::string> m_made; // names directly in the destination that this run has made
    std::map<EntryPath, std::string> m_links;     // symbolic, to make
    std::map<EntryPath, Attributes> m_attributes; // of folders, to set
    std::size_t m_waitingBytes = 0;               // of both
    std::set<std::string> m_waiting; // top folders whose version.info has yet to get its name
};
