#include "read/zip_directory.h"

#include "base/failure.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <unordered_set>
#include <zlib.h>

namespace {

constexpr std::size_t kEndSize = 22; // of the end record, its comment left out
constexpr std::size_t kLongestComment = 0xffff;
constexpr std::size_t kLocatorSize = 20; // stands before the end record of a zip64
constexpr std::size_t kEnd64Size = 56;   // stands before the locator
constexpr std::size_t kEntrySize = 46;   // names and such left out
constexpr std::size_t kLocalSize = 30;   // of the header before the data
constexpr std::uint64_t kIn64 = 0xffffffff;
constexpr std::uint64_t kZip64Field = 1;

Failure Damaged(const std::string &what)
{
    return Failure("is damaged: " + what);
}

/// Numbers are unsigned and begin with their lowest byte.
std::uint64_t Number(const char *bytes, int size)
{
    std::uint64_t number = 0;
    for (int i = size; i-- > 0;) {
        number = number << 8U | static_cast<unsigned char>(bytes[i]);
    }
    return number;
}

bool HasSignature(const char *bytes, const char *signature)
{
    return std::memcmp(bytes, signature, 4) == 0;
}

/// What the end records say of the directory.
struct Whereabouts
{
    std::uint64_t offset; // in the file
    std::uint64_t size;
    std::uint64_t count;
    std::uint64_t before; // bytes in the file before the zip begins, which no offset counts
};

std::optional<Whereabouts> FindDirectory(const InputFile &file)
{
    const auto size = std::min<std::uint64_t>(file.Size(), kEnd64Size + kLocatorSize + kEndSize
                                                               + kLongestComment);
    const std::uint64_t tailOffset = file.Size() - size;
    std::vector<char> tail(size);
    tail.resize(file.ReadAt(tailOffset, tail.data(), tail.size()));
    // A program that writes whole blocks fills up the last one with zeros.
    const auto lastUsed =
        std::find_if(tail.rbegin(), tail.rend(), [](char byte) { return byte != 0; });
    const auto used = static_cast<std::size_t>(tail.rend() - lastUsed);
    for (std::size_t at = tail.size(); at-- > 0;) {
        const char *const end = tail.data() + at;
        if (at + kEndSize > tail.size() || !HasSignature(end, "PK\5\6")) {
            continue;
        }
        const std::size_t stop = at + kEndSize + Number(end + 20, 2); // behind the comment
        if (stop < used || stop > tail.size()) {
            continue;
        }
        Whereabouts found = {Number(end + 16, 4), Number(end + 12, 4), Number(end + 10, 2), 0};
        std::uint64_t endOffset = tailOffset + at;
        const char *const end64 = end - kLocatorSize - kEnd64Size;
        if (at >= kLocatorSize + kEnd64Size && HasSignature(end - kLocatorSize, "PK\6\7")
            && HasSignature(end64, "PK\6\6")) {
            found = {Number(end64 + 48, 8), Number(end64 + 40, 8), Number(end64 + 32, 8), 0};
            endOffset -= kLocatorSize + kEnd64Size;
        }
        if (found.size > endOffset || found.offset > endOffset - found.size) {
            throw Damaged("its directory is not where it says");
        }
        found.before = endOffset - found.size - found.offset;
        found.offset += found.before;
        return found;
    }
    return std::nullopt;
}

/// A number of \a size bytes at \a at, or, if that is all ones, the next one of the zip64 field.
std::uint64_t NumberOr64(const char *at, std::string_view &field64)
{
    const std::uint64_t number = Number(at, 4);
    if (number != kIn64 || field64.size() < 8) {
        return number;
    }
    const std::uint64_t number64 = Number(field64.data(), 8);
    field64.remove_prefix(8);
    return number64;
}

std::string_view FindField(std::string_view extra, std::uint64_t id)
{
    while (extra.size() >= 4) {
        const std::size_t size =
            std::min<std::size_t>(Number(extra.data() + 2, 2), extra.size() - 4);
        if (Number(extra.data(), 2) == id) {
            return extra.substr(4, size);
        }
        extra.remove_prefix(4 + size);
    }
    return {};
}

} // namespace

bool ZipDirectory::IsIn(const InputFile &file)
{
    return FindDirectory(file).has_value();
}

ZipDirectory::ZipDirectory(const InputFile &file)
    : m_file(file)
{
    const std::optional<Whereabouts> found = FindDirectory(file);
    if (!found) {
        throw Failure("is cut off: the directory at its end is missing");
    }
    std::vector<char> directory(found->size);
    if (file.ReadAt(found->offset, directory.data(), directory.size()) != directory.size()) {
        throw Damaged("its directory cannot be read");
    }
    Read(directory, found->before);
    if (m_entries.size() != found->count) {
        throw Damaged("its number of entries is wrong");
    }
    std::sort(m_entries.begin(), m_entries.end(),
              [](const Entry &a, const Entry &b) { return a.offset < b.offset; });
    CheckEntries(found->offset);
}

void ZipDirectory::CheckEntry(std::size_t index) const
{
    const Entry &entry = m_entries[index];
    std::string header(kLocalSize + entry.name.size(), '\0');
    header.resize(m_file.ReadAt(entry.offset, header.data(), header.size()));
    if (header.size() < kLocalSize || !HasSignature(header.data(), "PK\3\4")
        || Number(header.data() + 26, 2) != entry.name.size()
        || header.substr(kLocalSize) != entry.name) {
        throw Damaged("two names for " + entry.name);
    }
}

void ZipDirectory::CheckLink(std::size_t index, std::string_view target) const
{
    const Entry &entry = m_entries[index];
    const auto *const bytes = reinterpret_cast<const Bytef *>(target.data());
    if (::crc32(0, bytes, static_cast<uInt>(target.size())) != entry.checksum) {
        throw Damaged("wrong checksum of the link " + entry.name);
    }
}

void ZipDirectory::CheckFolder(std::size_t index) const
{
    if (m_entries[index].checksum != 0) {
        throw Damaged("the folder " + m_entries[index].name + " has content");
    }
}

void ZipDirectory::Read(const std::vector<char> &directory, std::uint64_t before)
{
    for (std::string_view rest(directory.data(), directory.size()); !rest.empty();) {
        if (rest.size() < kEntrySize || !HasSignature(rest.data(), "PK\1\2")) {
            throw Damaged("its directory cannot be read");
        }
        const std::size_t nameSize = Number(rest.data() + 28, 2);
        if (rest.substr(kEntrySize, nameSize).find('\0') != std::string_view::npos) {
            throw Damaged("a name in it holds a NUL");
        }
        const std::size_t extraSize = Number(rest.data() + 30, 2);
        const std::size_t size = kEntrySize + nameSize + extraSize + Number(rest.data() + 32, 2);
        if (rest.size() < size) {
            throw Damaged("its directory cannot be read");
        }
        // The zip64 field has the numbers that have no room elsewhere, in this order.
        std::string_view field64 =
            FindField(rest.substr(kEntrySize + nameSize, extraSize), kZip64Field);
        NumberOr64(rest.data() + 24, field64);
        const std::uint64_t packedSize = NumberOr64(rest.data() + 20, field64);
        const std::uint64_t offset = NumberOr64(rest.data() + 42, field64) + before;
        m_entries.push_back({std::string(rest.substr(kEntrySize, nameSize)), offset, packedSize,
                             Number(rest.data() + 16, 4)});
        rest.remove_prefix(size);
    }
}

void ZipDirectory::CheckEntries(std::uint64_t directoryOffset) const
{
    std::unordered_set<std::string_view> names;
    std::uint64_t end = 0;
    for (const Entry &entry : m_entries) {
        if (!names.insert(entry.name).second) {
            throw Damaged("it holds " + entry.name + " twice");
        }
        if (entry.offset < end || entry.offset > directoryOffset
            || entry.packedSize > directoryOffset - entry.offset) {
            throw Damaged(entry.name + " is not where it should be");
        }
        end = entry.offset + kLocalSize + entry.packedSize;
    }
}
