#include "mend_checksums.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <numeric>
#include <string_view>
#include <vector>
#include <zlib.h>

namespace {

/// The bytes of a file. Numbers are unsigned and begin with their lowest byte; what would lie
/// outside of the file reads as 0 and is not written.
struct Bytes
{
    std::uint8_t *data;
    std::size_t size;

    std::string_view Text() const { return {reinterpret_cast<const char *>(data), size}; }
    bool Has(std::size_t offset, std::size_t count) const
    {
        return offset <= size && count <= size - offset;
    }

    std::uint64_t Get(std::size_t offset, std::size_t count) const
    {
        std::uint64_t number = 0;
        for (std::size_t i = Has(offset, count) ? count : 0; i-- > 0;)
            number = number << 8U | data[offset + i];
        return number;
    }

    void Put(std::size_t offset, std::size_t count, std::uint64_t number)
    {
        for (std::size_t i = 0; Has(offset, count) && i < count; ++i)
            data[offset + i] = static_cast<std::uint8_t>(number >> 8 * i);
    }

    std::uint64_t Crc(std::size_t offset, std::size_t count) const
    {
        return Has(offset, count) ? ::crc32(0, data + offset, static_cast<uInt>(count)) : 0;
    }
};

void MendSevenZip(Bytes file)
{
    constexpr std::size_t kStart = 32; // size of the signature header
    if (file.size < kStart)
        return;
    const std::uint64_t room = file.size - kStart;
    const std::uint64_t size = std::min(file.Get(20, 8), room);
    const std::uint64_t offset = std::min(file.Get(12, 8), room - size);
    file.Put(12, 8, offset);
    file.Put(20, 8, size);
    file.Put(28, 4, file.Crc(kStart + offset, size));
    file.Put(8, 4, file.Crc(12, 20));
}

void MendTar(Bytes file)
{
    constexpr std::size_t kBlock = 512;
    for (std::size_t at = 0; file.Has(at, kBlock); at += kBlock) {
        if (file.Text().substr(at + 257, 5) != "ustar")
            continue;
        std::uint8_t *const header = file.data + at;
        std::memset(header + 148, ' ', 8);
        const unsigned sum = std::accumulate(header, header + kBlock, 0U);
        char text[8];
        std::snprintf(text, sizeof text, "%06o", sum & 0777777U);
        std::memcpy(header + 148, text, 7);
    }
}

/// Has the local header say what the central directory header says, and both the sum of data that
/// is stored: hardly any mutant of compressed data can still be decompressed. \a end is where the
/// next entry begins.
void MendZipEntry(Bytes &file, std::size_t central, std::size_t local, std::size_t end)
{
    constexpr std::size_t kLocalSize = 30;
    constexpr std::size_t kCentralSize = 46;
    constexpr std::size_t kCommonSize = 14; // checksum, both sizes, size of the name
    const std::size_t name_size = file.Get(central + 28, 2);
    const std::size_t data = local + kLocalSize + name_size + file.Get(local + 28, 2);
    if (!file.Has(central, kCentralSize + name_size) || data > end)
        return;
    file.Put(central + 42, 4, local);
    if (file.Get(central + 10, 2) == 0) // stored
        file.Put(central + 16, 4, file.Crc(data, file.Get(central + 20, 4)));
    std::memmove(file.data + local + 14, file.data + central + 16, kCommonSize);
    std::memmove(file.data + local + kLocalSize, file.data + central + kCentralSize, name_size);
}

std::vector<std::size_t> FindAll(const Bytes &file, std::string_view signature, std::size_t end)
{
    std::vector<std::size_t> places;
    const std::string_view text = file.Text();
    for (auto at = text.find(signature); at < end; at = text.find(signature, at + 4))
        places.push_back(at);
    return places;
}

/// Takes the first local header for that of the first central directory header, and so on.
void MendZip(Bytes file)
{
    const auto ends = FindAll(file, "PK\5\6", file.size);
    const std::size_t end = ends.empty() ? file.size : ends.back();
    auto centrals = FindAll(file, "PK\1\2", end);
    const std::size_t directory = centrals.empty() ? end : centrals.front();
    auto locals = FindAll(file, "PK\3\4", directory);
    centrals.resize(std::min(centrals.size(), locals.size()));
    locals.push_back(directory);
    for (std::size_t i = 0; i < centrals.size(); ++i)
        MendZipEntry(file, centrals[i], locals[i], locals[i + 1]);
    file.Put(end + 8, 2, centrals.size());
    file.Put(end + 10, 2, centrals.size());
    file.Put(end + 12, 4, end - directory);
    file.Put(end + 16, 4, directory);
    file.Put(end + 20, 2, file.size - end - 22);
}

} // namespace

void MendChecksums(std::uint8_t *data, std::size_t size)
{
    const Bytes file = {data, size};
    if (file.Text().substr(0, 6) == "7z\xbc\xaf\x27\x1c")
        MendSevenZip(file);
    else if (file.Text().substr(0, 2) == "PK")
        MendZip(file);
    else
        MendTar(file);
}
