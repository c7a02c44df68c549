#pragma once

#include "base/input_file.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// What stands at a zip's end: all its entries. It is read besides what libarchive reads of it,
/// since libarchive believes a damaged directory too much: entries can get lost, or get the names
/// of their other, damaged header, without a word.
class ZipDirectory
{
public:
    /// Whether \a file ends as a zip does; a truncated one doesn't.
    static bool IsIn(const InputFile &file);

    /// Throws a Failure if the directory contradicts itself: a wrong number of entries, two of one
    /// name, or two that share bytes, as those of a small archive do that is to fill a disk.
    explicit ZipDirectory(const InputFile &file);

    /// Entries are numbered in the order of their place in the file, as libarchive brings them.
    std::size_t Size() const { return m_entries.size(); }
    std::uint64_t PackedSize(std::size_t index) const { return m_entries[index].packedSize; }

    /// Throws a Failure unless the header that stands before the entry's data says the same name.
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
        std::uint64_t offset; // of its other header, in the file
        std::uint64_t packedSize;
        std::uint64_t checksum;
    };

    void Read(const std::vector<char> &directory, std::uint64_t before);
    void CheckEntries(std::uint64_t directoryOffset) const;

    const InputFile &m_file;
    std::vector<Entry> m_entries;
};
