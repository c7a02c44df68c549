#include "entry_writer.h"

#include "base/failure.h"

#include <climits>
#include <cstring>
#include <optional>
#include <sys/stat.h>

namespace {

std::optional<timespec> ModifiedOf(archive_entry *entry)
{
    if (!archive_entry_mtime_is_set(entry))
        return std::nullopt;
    return timespec{archive_entry_mtime(entry), archive_entry_mtime_nsec(entry)};
}

mode_t PermissionsOf(archive_entry *entry)
{
    return archive_entry_perm(entry) & 0777;
}

/// The name of an entry, or of what it links to.
std::string NameOf(const ArchiveReader &reader, const char *name)
{
    if (!name)
        throw Failure("is damaged: a name cannot be read");
    const ArchiveReader::Format format = reader.GetFormat();
    if (std::strlen(name) >= PATH_MAX)
        throw Failure("holds a name that is too long");
    const bool is_of_dos =
        format == ArchiveReader::Format::Zip || format == ArchiveReader::Format::Cab;
    return is_of_dos ? ReadDosName(name) : name;
}

} // namespace

void EntryWriter::Write(ArchiveReader &reader, archive_entry *entry)
{
    m_destination.NoteEntry();
    const EntryPath path = ParseEntryPath(NameOf(reader, archive_entry_pathname(entry)));
    if (!m_destination.Wants(path))
        return;
    const char *const hard_link = archive_entry_hardlink(entry);
    if (hard_link && archive_entry_size(entry) == 0) {
        m_destination.LinkNow(m_walk, path, ParseEntryPath(NameOf(reader, hard_link)));
        return;
    }
    switch (archive_entry_filetype(entry)) {
    case AE_IFDIR:
        m_walk.Make(path);
        m_destination.SetAttributesLater(path, {PermissionsOf(entry), ModifiedOf(entry)});
        break;
    case AE_IFREG:
        if ((archive_entry_perm(entry) & (S_ISUID | S_ISGID)) != 0)
            throw Failure(JoinPath(path) + ": would run with rights that are not its user's");
        WriteFile(reader, entry, path);
        break;
    case AE_IFLNK:
        m_destination.LinkLater(path, NameOf(reader, archive_entry_symlink(entry)));
        break;
    default:
        throw Failure(JoinPath(path) + ": is neither file, folder nor link");
    }
}

void EntryWriter::WriteFile(ArchiveReader &reader, archive_entry *entry, const EntryPath &path)
{
    NewFile file = m_destination.MakeFile(m_walk, path, PermissionsOf(entry));
    ArchiveReader::Block block;
    while (reader.NextBlock(block))
        file.Write(block.bytes, block.offset);
    if (archive_entry_size_is_set(entry)
        && block.offset != static_cast<std::uint64_t>(archive_entry_size(entry)))
        throw Failure(JoinPath(path) + ": has another size than the archive says");
    file.Finish(block.offset, ModifiedOf(entry));
}
