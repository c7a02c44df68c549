#pragma once

#include "base/input_file.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The central directory of a zip, which lists all entries at the file's end.
///
/// It is read here although libarchive reads it, too, because libarchive trusts a damaged one:
/// entries get lost, or get the names in their damaged local file headers, without a warning. The
/// words are those of APPNOTE.TXT, the format's document.
class ZipDirectory
{
public:
    /// Whether \a file ends as a zip does; a truncated one doesn't.
    static bool IsIn(const InputFile &file);

    /// Throws a Failure if the central directory contradicts itself: it has a wrong number of
    /// entries, two entries have one name, or two share bytes of the file, which lets a small
    /// archive fill a disk.
    explicit ZipDirectory(const InputFile &file);

    /// Entries are numbered in the order of their place in the file, as libarchive brings them.
    std::size_t Size() const { return m_entries.size(); }
    std::uint64_t CompressedSize(std::size_t index) const
    {
        return m_entries[index].compressed_size;
    }

    /// Throws a Failure unless the entry's local file header has the same name.
    void CheckEntry(std::size_t index) const;

    /// Throws a Failure unless \a target, of a symbolic link, has the entry's checksum, which
    /// libarchive tests for files alone.
    void CheckLink(std::size_t index, std::string_view target) const;

    /// Throws a Failure if the entry, said to be a folder, has content.
    void CheckFolder(std::size_t index) const;

private:
    struct Entry
    {
        std::string name;
        std::uint64_t offset; // of its local file header, in the file
        std::uint64_t compressed_size;
        std::uint64_t checksum;
    };

    void Read(const std::vector<char> &directory, std::uint64_t before);
    void CheckEntries(std::uint64_t directory_offset) const;

    const InputFile &m_file;
    std::vector<Entry> m_entries;
};
