#pragma once

#include "base/unique_fd.h"
#include "write/entry_path.h"

#include <string>
#include <vector>

class NewTree;

/// Ways into the folders below a destination, through open handles: every name on the way is
/// opened from the folder above it and never through a link, so no change to the tree, made by
/// an archive or by anyone else, can lead out of it. The handles of the last way stay open, which
/// makes the next file of the same folder cost nothing. One thread uses a walk.
class TreeWalk
{
public:
    explicit TreeWalk(NewTree &tree)
        : m_tree(tree)
    {
    }

    /// The handle of the folder at \a path, made if it is missing; good until the next call.
    int Make(const EntryPath &path);

    /// The same without making; -1 if there is no such folder.
    int Find(const EntryPath &path);

private:
    struct Level
    {
        std::string name;
        UniqueFd folder;
    };

    int KeepCommon(const EntryPath &path);

    NewTree &m_tree;
    std::vector<Level> m_levels; // the folders below the destination, outermost first
};
