#include "zip_directory.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kEndSize = 22; // of the end record, its comment left out
constexpr std::size_t kLongestComment = 0xffff;
constexpr std::size_t kLocatorSize = 20; // stands before the end record of a zip64
constexpr std::size_t kEnd64Size = 56;

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

} // namespace

std::optional<std::uint64_t> ZipEntryCount(const InputFile &file)
{
    const auto size =
        std::min<std::uint64_t>(file.Size(), kLocatorSize + kEndSize + kLongestComment);
    std::vector<char> tail(size);
    tail.resize(file.ReadAt(file.Size() - size, tail.data(), tail.size()));
    if (tail.size() < kEndSize) {
        return std::nullopt;
    }
    for (std::size_t at = tail.size() - kEndSize + 1; at-- > 0;) {
        const char *const end = tail.data() + at;
        if (!HasSignature(end, "PK\5\6") || at + kEndSize + Number(end + 20, 2) != tail.size()) {
            continue;
        }
        char end64[kEnd64Size];
        if (at >= kLocatorSize && HasSignature(end - kLocatorSize, "PK\6\7")
            && file.ReadAt(Number(end - kLocatorSize + 8, 8), end64, kEnd64Size) == kEnd64Size
            && HasSignature(end64, "PK\6\6")) {
            return Number(end64 + 32, 8);
        }
        return Number(end + 10, 2);
    }
    return std::nullopt;
}
