#include "read/zip_directory.h"

#include "base/failure.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <unordered_set>
#include <zlib.h>

namespace {

// Sizes in bytes, without the names, extra fields and comments at their ends.
constexpr std::size_t kEndRecordSize = 22; // end of central directory record
constexpr std::size_t kLongestComment = 0xffff;
constexpr std::size_t kEndLocator64Size = 20; // zip64 end of central directory locator
constexpr std::size_t kEndRecord64Size = 56;  // zip64 end of central directory record
constexpr std::size_t kCentralHeaderSize = 46;
constexpr std::size_t kLocalHeaderSize = 30; // local file header

constexpr std::uint64_t kIsInZip64Field = 0xffffffff; // stands where a number has no room
constexpr std::uint64_t kZip64FieldId = 1; // header ID of the extra field for such numbers

Failure Damaged(const std::string &what)
{
    return Failure("is damaged: " + what);
}

/// Numbers are unsigned and begin with their lowest byte.
std::uint64_t Number(const char *bytes, int size)
{
    std::uint64_t number = 0;
    for (int i = size; i-- > 0;)
        number = number << 8U | static_cast<unsigned char>(bytes[i]);
    return number;
}

bool HasSignature(const char *bytes, const char *signature)
{
    return std::memcmp(bytes, signature, 4) == 0;
}

/// What the end of central directory record says of the central directory.
struct EndRecord
{
    std::uint64_t offset; // in the file
    std::uint64_t size;
    std::uint64_t count;
    std::uint64_t before; // bytes in front of the zip, as of a self-extracting one, in no offset
};

std::optional<EndRecord> FindEndRecord(const InputFile &file)
{
    const auto size = std::min<std::uint64_t>(file.Size(), kEndRecord64Size + kEndLocator64Size
                                                               + kEndRecordSize + kLongestComment);
    const std::uint64_t tail_offset = file.Size() - size;
    std::vector<char> tail(size);
    tail.resize(file.ReadAt(tail_offset, tail.data(), tail.size()));
    // A program that writes whole blocks fills up the last one with zeros.
    const auto last_used =
        std::find_if(tail.rbegin(), tail.rend(), [](char byte) { return byte != 0; });
    const auto used = static_cast<std::size_t>(tail.rend() - last_used);
    for (std::size_t at = tail.size(); at-- > 0;) {
        const char *const end = tail.data() + at;
        if (at + kEndRecordSize > tail.size() || !HasSignature(end, "PK\5\6"))
            continue;
        const std::size_t stop =
            at + kEndRecordSize + Number(end + 20, 2); // offset behind the comment
        if (stop < used || stop > tail.size())
            continue;
        EndRecord found = {Number(end + 16, 4), Number(end + 12, 4), Number(end + 10, 2), 0};
        std::uint64_t end_offset = tail_offset + at;
        const char *const end64 = end - kEndLocator64Size - kEndRecord64Size;
        if (at >= kEndLocator64Size + kEndRecord64Size
            && HasSignature(end - kEndLocator64Size, "PK\6\7") && HasSignature(end64, "PK\6\6")) {
            found = {Number(end64 + 48, 8), Number(end64 + 40, 8), Number(end64 + 32, 8), 0};
            end_offset -= kEndLocator64Size + kEndRecord64Size;
        }
        if (found.size > end_offset || found.offset > end_offset - found.size)
            throw Damaged("its directory is not where it says");
        found.before = end_offset - found.size - found.offset;
        found.offset += found.before;
        return found;
    }
    return std::nullopt;
}

/// The number of four bytes at \a at, or, if that stands for none, the next one of the zip64 field.
std::uint64_t NumberOr64(const char *at, std::string_view &field64)
{
    const std::uint64_t number = Number(at, 4);
    if (number != kIsInZip64Field || field64.size() < 8)
        return number;
    const std::uint64_t number64 = Number(field64.data(), 8);
    field64.remove_prefix(8);
    return number64;
}

std::string_view FindField(std::string_view extra, std::uint64_t id)
{
    while (extra.size() >= 4) {
        const std::size_t size =
            std::min<std::size_t>(Number(extra.data() + 2, 2), extra.size() - 4);
        if (Number(extra.data(), 2) == id)
            return extra.substr(4, size);
        extra.remove_prefix(4 + size);
    }
    return {};
}

} // namespace

bool ZipDirectory::IsIn(const InputFile &file)
{
    return FindEndRecord(file).has_value();
}

ZipDirectory::ZipDirectory(const InputFile &file)
    : m_file(file)
{
    const std::optional<EndRecord> found = FindEndRecord(file);
    if (!found)
        throw Failure("is cut off: the directory at its end is missing");
    std::vector<char> directory(found->size);
    if (file.ReadAt(found->offset, directory.data(), directory.size()) != directory.size())
        throw Damaged("its directory cannot be read");
    Read(directory, found->before);
    if (m_entries.size() != found->count)
        throw Damaged("its number of entries is wrong");
    std::sort(m_entries.begin(), m_entries.end(),
              [](const Entry &a, const Entry &b) { return a.offset < b.offset; });
    CheckEntries(found->offset);
}

void ZipDirectory::CheckEntry(std::size_t index) const
{
    const Entry &entry = m_entries[index];
    std::string header(kLocalHeaderSize + entry.name.size(), '\0');
    header.resize(m_file.ReadAt(entry.offset, header.data(), header.size()));
    if (header.size() < kLocalHeaderSize || !HasSignature(header.data(), "PK\3\4")
        || Number(header.data() + 26, 2) != entry.name.size()
        || header.substr(kLocalHeaderSize) != entry.name)
        throw Damaged("two names for " + entry.name);
}

void ZipDirectory::CheckLink(std::size_t index, std::string_view target) const
{
    const Entry &entry = m_entries[index];
    const auto *const bytes = reinterpret_cast<const Bytef *>(target.data());
    if (::crc32(0, bytes, static_cast<uInt>(target.size())) != entry.checksum)
        throw Damaged("wrong checksum of the link " + entry.name);
}

void ZipDirectory::CheckFolder(std::size_t index) const
{
    if (m_entries[index].checksum != 0)
        throw Damaged("the folder " + m_entries[index].name + " has content");
}

void ZipDirectory::Read(const std::vector<char> &directory, std::uint64_t before)
{
    for (std::string_view rest(directory.data(), directory.size()); !rest.empty();) {
        if (rest.size() < kCentralHeaderSize || !HasSignature(rest.data(), "PK\1\2"))
            throw Damaged("its directory cannot be read");
        const std::size_t name_size = Number(rest.data() + 28, 2);
        if (rest.substr(kCentralHeaderSize, name_size).find('\0') != std::string_view::npos)
            throw Damaged("a name in it holds a NUL");
        const std::size_t extra_size = Number(rest.data() + 30, 2);
        const std::size_t size =
            kCentralHeaderSize + name_size + extra_size + Number(rest.data() + 32, 2);
        if (rest.size() < size)
            throw Damaged("its directory cannot be read");
        // The zip64 field has those of its numbers that have no room in the header, in this order.
        std::string_view field64 =
            FindField(rest.substr(kCentralHeaderSize + name_size, extra_size), kZip64FieldId);
        NumberOr64(rest.data() + 24, field64);
        const std::uint64_t compressed_size = NumberOr64(rest.data() + 20, field64);
        const std::uint64_t offset = NumberOr64(rest.data() + 42, field64) + before;
        m_entries.push_back({std::string(rest.substr(kCentralHeaderSize, name_size)), offset,
                             compressed_size, Number(rest.data() + 16, 4)});
        rest.remove_prefix(size);
    }
}

void ZipDirectory::CheckEntries(std::uint64_t directory_offset) const
{
    std::unordered_set<std::string_view> names;
    std::uint64_t end = 0;
    for (const Entry &entry : m_entries) {
        if (!names.insert(entry.name).second)
            throw Damaged("it holds " + entry.name + " twice");
        if (entry.offset < end || entry.offset > directory_offset
            || entry.compressed_size > directory_offset - entry.offset)
            throw Damaged(entry.name + " is not where it should be");
        end = entry.offset + kLocalHeaderSize + entry.compressed_size;
    }
}
