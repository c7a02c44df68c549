#include "entry_writer.h"

#include "base/failure.h"

#include <climits>
#include <cstring>
#include <optional>
#include <sys/stat.h>

namespace {

/// A file in the making: removed again unless it is finished.
class NewFile
{
public:
    NewFile(UniqueFd file, int folder, const std::string &name)
        : m_file(std::move(file))
        , m_folder(folder)
        , m_name(name)
    {
    }
    ~NewFile()
    {
        if (m_file) {
            ::unlinkat(m_folder, m_name.c_str(), 0);
        }
    }
    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;

    void Write(std::string_view bytes, std::uint64_t offset)
    {
        while (!bytes.empty()) {
            const ssize_t written =
                ::pwrite(m_file.Get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
            if (written < 0) {
                if (errno == EINTR) {
                    continue;
                }
                throw SystemFailure(m_name);
            }
            bytes.remove_prefix(static_cast<std::size_t>(written));
            offset += static_cast<std::uint64_t>(written);
        }
        m_end = offset;
    }

    void Finish(std::uint64_t size, const std::optional<timespec> &modified)
    {
        if (size > m_end && ::ftruncate(m_file.Get(), static_cast<off_t>(size)) != 0) {
            throw SystemFailure(m_name);
        }
        if (modified) {
            const timespec times[2] = {{0, UTIME_OMIT}, *modified};
            ::futimens(m_file.Get(), times); // a time that the file system can't hold is no loss
        }
        if (::close(m_file.Release()) != 0) {
            throw SystemFailure(m_name);
        }
    }

private:
    UniqueFd m_file; // none when finished
    int m_folder;
    const std::string &m_name;
    std::uint64_t m_end = 0;
};

std::optional<timespec> ModifiedOf(archive_entry *entry)
{
    if (!archive_entry_mtime_is_set(entry)) {
        return std::nullopt;
    }
    return timespec{archive_entry_mtime(entry), archive_entry_mtime_nsec(entry)};
}

mode_t PermissionsOf(archive_entry *entry)
{
    return archive_entry_perm(entry) & 0777;
}

/// The name of an entry, or of what it links to.
std::string NameOf(const ArchiveReader &reader, const char *name)
{
    if (!name) {
        throw Failure("is damaged: a name cannot be read");
    }
    const ArchiveReader::Format format = reader.GetFormat();
    if (std::strlen(name) >= PATH_MAX) {
        throw Failure("holds a name that is too long");
    }
    const bool isOfDos =
        format == ArchiveReader::Format::Zip || format == ArchiveReader::Format::Cab;
    return isOfDos ? ReadDosName(name) : name;
}

} // namespace

void EntryWriter::Write(ArchiveReader &reader, archive_entry *entry)
{
    m_destination.NoteEntry();
    const EntryPath path = ParseEntryPath(NameOf(reader, archive_entry_pathname(entry)));
    if (path.empty()) {
        return; // the destination itself stays what it is
    }
    const char *const hardLink = archive_entry_hardlink(entry);
    if (hardLink && archive_entry_size(entry) == 0) {
        m_destination.LinkNow(m_walk, path, ParseEntryPath(NameOf(reader, hardLink)));
        return;
    }
    switch (archive_entry_filetype(entry)) {
    case AE_IFDIR:
        m_walk.Make(path);
        m_destination.SetAttributesLater(path, {PermissionsOf(entry), ModifiedOf(entry)});
        break;
    case AE_IFREG:
        if ((archive_entry_perm(entry) & (S_ISUID | S_ISGID)) != 0) {
            throw Failure(JoinPath(path) + ": would run with rights that are not its user's");
        }
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
    const int folder = m_walk.Make(ParentOf(path));
    const std::string name = m_destination.Waiting(path);
    NewFile file(m_destination.MakeFile(path, folder, name, PermissionsOf(entry)), folder, name);
    ArchiveReader::Block block;
    while (reader.NextBlock(block)) {
        m_destination.Space().Take(block.bytes.size(), 0);
        file.Write(block.bytes, block.offset);
    }
    if (archive_entry_size_is_set(entry)
        && block.offset != static_cast<std::uint64_t>(archive_entry_size(entry))) {
        throw Failure(JoinPath(path) + ": has another size than the archive says");
    }
    file.Finish(block.offset, ModifiedOf(entry));
}
