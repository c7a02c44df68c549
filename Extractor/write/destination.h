#pragma once

#include "write/entry_path.h"
#include "write/new_file.h"
#include "write/new_tree.h"
#include "write/tree_walk.h"

#include <atomic>
#include <ctime>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <sys/types.h>

/// The folder that an archive is unpacked to, and what is put off until all files are there:
/// symbolic links, so that nothing can ever be written through one; the folders' own permissions,
/// which may forbid to write into them; and the name of each `version.info` directly in a top
/// folder, since it makes a component count as installed and may not be there before all the rest.
///
/// Any thread may add to it.
class Destination
{
public:
    /// Makes the folder if it is missing. Of the archive only what lies below its top folder
    /// \a only_folder is wanted, or everything if that is empty.
    Destination(const std::string &path, std::uint64_t archive_size,
                const std::string &only_folder);

    NewTree &Tree() { return m_tree; }

    bool Wants(const EntryPath &path) const;

    /// Says that the archive has an entry, whatever it is.
    void NoteEntry() { m_hasEntries = true; }

    /// Makes the file at \a path, in place of a file or link that is there. The walk must not go
    /// on before the file is finished.
    NewFile MakeFile(TreeWalk &walk, const EntryPath &path, mode_t mode);

    struct Attributes
    {
        mode_t mode;
        std::optional<timespec> modified;
    };
    /// Sets the permissions and the time of a folder when all else is done.
    void SetAttributesLater(const EntryPath &folder, const Attributes &attributes);
    /// Makes a symbolic link when all files are there; one that leads out is a Failure then.
    void LinkLater(const EntryPath &path, const std::string &target);
    /// Makes a hard link to a file that the run has made; any other target is a Failure.
    void LinkNow(TreeWalk &walk, const EntryPath &path, const EntryPath &target);

    /// Does all that was put off, and has a component written to the disk where \a is_synced is
    /// set; an archive without an entry is a Failure.
    void Complete(bool is_synced);

    /// Removes what this run has made, as far as it can be.
    void Undo() { m_tree.Undo(); }

private:
    std::string StagingName(const EntryPath &path);
    void KeepLink(const EntryPath &path, const std::string &target);
    void TakeMemory(const EntryPath &path, std::size_t text_size);
    void MakeLinks(TreeWalk &walk);
    void CheckLink(TreeWalk &walk, const EntryPath &path, const std::string &target);
    void SetAttributes(TreeWalk &walk, bool of_staged);
    void Sync();
    void RevealVersionInfos(TreeWalk &walk);

    NewTree m_tree;
    const std::string m_onlyFolder;
    const mode_t m_mask; // permission bits that nothing new gets
    std::atomic<bool> m_hasEntries{false};

    std::mutex m_mutex;                           // guards all members below
    std::map<EntryPath, std::string> m_links;     // symbolic, to make
    std::map<EntryPath, Attributes> m_attributes; // of folders, to set
    std::size_t m_keptBytes = 0;                  // that links and attributes take in memory
    std::set<std::string> m_staged; // top folders whose version.info still has its staging name
};
