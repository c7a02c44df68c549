#pragma once

#include "read/archive_reader.h"
#include "write/destination.h"
#include "write/tree_walk.h"

/// Puts the entries that one thread reads below the destination.
class EntryWriter
{
public:
    explicit EntryWriter(Destination &destination)
        : m_destination(destination)
        , m_walk(destination.Tree())
    {
    }

    /// Writes \a entry, the one that \a reader has just come to, and its data.
    void Write(ArchiveReader &reader, archive_entry *entry);

private:
    void WriteFile(ArchiveReader &reader, archive_entry *entry, const EntryPath &path);

    Destination &m_destination;
    TreeWalk m_walk;
};
