#include "read/zip_directory.h"

#include "base/failure.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <unordered_set>
#include <zlib.h>

namespace {

/// Where a number stands in its structure, in bytes.
struct Field
{
    std::size_t offset;
    std::size_t size;
};

// The sizes of structures are without the names, extra fields and comments at their ends.

// end of central directory record
constexpr char kEndSignature[] = "PK\5\6";
constexpr std::size_t kEndRecordSize = 22;
constexpr std::size_t kLongestComment = 0xffff;
constexpr Field kEndEntries = {10, 2};
constexpr Field kEndDirectorySize = {12, 4};
constexpr Field kEndDirectoryOffset = {16, 4};
constexpr Field kEndCommentLength = {20, 2};

// zip64 end of central directory locator
constexpr char kEndLocator64Signature[] = "PK\6\7";
constexpr std::size_t kEndLocator64Size = 20;

// zip64 end of central directory record
constexpr char kEnd64Signature[] = "PK\6\6";
constexpr std::size_t kEndRecord64Size = 56;
constexpr Field kEnd64Entries = {32, 8};
constexpr Field kEnd64DirectorySize = {40, 8};
constexpr Field kEnd64DirectoryOffset = {48, 8};

// central file header
constexpr char kCentralSignature[] = "PK\1\2";
constexpr std::size_t kCentralHeaderSize = 46;
constexpr Field kCrc32 = {16, 4};
constexpr Field kCompressedSize = {20, 4};
constexpr Field kUncompressedSize = {24, 4};
constexpr Field kNameLength = {28, 2};
constexpr Field kExtraLength = {30, 2};
constexpr Field kCommentLength = {32, 2};
constexpr Field kLocalHeaderOffset = {42, 4};

// local file header
constexpr char kLocalSignature[] = "PK\3\4";
constexpr std::size_t kLocalHeaderSize = 30;
constexpr Field kLocalNameLength = {26, 2};

// extra field
constexpr std::size_t kExtraHeaderSize = 4;
constexpr Field kExtraId = {0, 2};
constexpr Field kExtraDataSize = {2, 2};

constexpr std::uint64_t kIsInZip64Field = 0xffffffff; // stands where a number has no room
constexpr std::uint64_t kZip64FieldId = 1; // header ID of the extra field for such numbers
constexpr Field kZip64Number = {0, 8};     // the first one in it

Failure Damaged(const std::string &what)
{
    return Failure("is damaged: " + what);
}

/// Numbers are unsigned and begin with their lowest byte.
std::uint64_t Number(const char *structure, Field field)
{
    std::uint64_t number = 0;
    for (std::size_t i = field.offset + field.size; i-- > field.offset;)
        number = number << 8U | static_cast<unsigned char>(structure[i]);
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
        if (at + kEndRecordSize > tail.size() || !HasSignature(end, kEndSignature))
            continue;
        const std::size_t stop =
            at + kEndRecordSize + Number(end, kEndCommentLength); // offset behind the comment
        if (stop < used || stop > tail.size())
            continue;
        EndRecord found = {Number(end, kEndDirectoryOffset), Number(end, kEndDirectorySize),
                           Number(end, kEndEntries), 0};
        std::uint64_t end_offset = tail_offset + at;
        const char *const end64 = end - kEndLocator64Size - kEndRecord64Size;
        if (at >= kEndLocator64Size + kEndRecord64Size
            && HasSignature(end - kEndLocator64Size, kEndLocator64Signature)
            && HasSignature(end64, kEnd64Signature)) {
            found = {Number(end64, kEnd64DirectoryOffset), Number(end64, kEnd64DirectorySize),
                     Number(end64, kEnd64Entries), 0};
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

/// The number of four bytes in \a field, or, if that stands for none, the next one of the zip64
/// field.
std::uint64_t NumberOr64(const char *header, Field field, std::string_view &field64)
{
    const std::uint64_t number = Number(header, field);
    if (number != kIsInZip64Field || field64.size() < kZip64Number.size)
        return number;
    const std::uint64_t number64 = Number(field64.data(), kZip64Number);
    field64.remove_prefix(kZip64Number.size);
    return number64;
}

std::string_view FindField(std::string_view extra, std::uint64_t id)
{
    while (extra.size() >= kExtraHeaderSize) {
        const std::size_t size = std::min<std::size_t>(Number(extra.data(), kExtraDataSize),
                                                       extra.size() - kExtraHeaderSize);
        if (Number(extra.data(), kExtraId) == id)
            return extra.substr(kExtraHeaderSize, size);
        extra.remove_prefix(kExtraHeaderSize + size);
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
    if (header.size() < kLocalHeaderSize || !HasSignature(header.data(), kLocalSignature)
        || Number(header.data(), kLocalNameLength) != entry.name.size()
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
        if (rest.size() < kCentralHeaderSize || !HasSignature(rest.data(), kCentralSignature))
            throw Damaged("its directory cannot be read");
        const std::size_t name_size = Number(rest.data(), kNameLength);
        if (rest.substr(kCentralHeaderSize, name_size).find('\0') != std::string_view::npos)
            throw Damaged("a name in it holds a NUL");
        const std::size_t extra_size = Number(rest.data(), kExtraLength);
        const std::size_t size =
            kCentralHeaderSize + name_size + extra_size + Number(rest.data(), kCommentLength);
        if (rest.size() < size)
            throw Damaged("its directory cannot be read");
        // The zip64 field has those of its numbers that have no room in the header, in this order.
        std::string_view field64 =
            FindField(rest.substr(kCentralHeaderSize + name_size, extra_size), kZip64FieldId);
        NumberOr64(rest.data(), kUncompressedSize, field64);
        const std::uint64_t compressed_size = NumberOr64(rest.data(), kCompressedSize, field64);
        const std::uint64_t offset = NumberOr64(rest.data(), kLocalHeaderOffset, field64) + before;
        m_entries.push_back({std::string(rest.substr(kCentralHeaderSize, name_size)), offset,
                             compressed_size, Number(rest.data(), kCrc32)});
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
