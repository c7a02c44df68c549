#include "read/seven_zip_header.h"

#include "read/byte_source.h"

#include <initializer_list>
#include <string>

namespace {

constexpr std::size_t kStartSize = 32;       // of what stands before the packed bytes
constexpr std::size_t kLargestHeader = 4096; // that of one file is hardly larger than its name

/// Reads the numbers that a 7z is described with.
class Description
{
public:
    Description(const InputFile &file, std::uint64_t offset, std::size_t size)
        : m_bytes(size, '\0')
    {
        if (file.ReadAt(offset, m_bytes.data(), size) != size) {
            throw BadBlock();
        }
    }

    unsigned char Byte()
    {
        if (m_at == m_bytes.size()) {
            throw BadBlock();
        }
        return static_cast<unsigned char>(m_bytes[m_at++]);
    }

    void Expect(std::initializer_list<unsigned char> bytes)
    {
        for (const unsigned char byte : bytes) {
            if (Byte() != byte) {
                throw BadBlock();
            }
        }
    }

    /// A number of \a size bytes, the lowest first.
    std::uint64_t Fixed(unsigned size)
    {
        std::uint64_t number = 0;
        for (unsigned i = 0; i < size; ++i) {
            number |= std::uint64_t{Byte()} << 8 * i;
        }
        return number;
    }

    /// As many bytes follow the first as it has leading ones; what is left of it is the top.
    std::uint64_t Number()
    {
        const unsigned first = Byte();
        unsigned size = 0;
        while ((first << size & 0x80U) != 0) {
            ++size;
        }
        if (size == 8) {
            throw BadBlock(); // no size of anything
        }
        const std::uint64_t top = first & (0x7fU >> size);
        return Fixed(size) | top << 8 * size;
    }

private:
    std::string m_bytes;
    std::size_t m_at = 0;
};

/// From the property of LZMA2: two sizes for each power of two.
std::uint32_t DictionarySize(unsigned property)
{
    constexpr unsigned kLargest = 40; // means 4 GB
    return property < kLargest ? (2U | (property & 1U)) << (property / 2 + 11) : UINT32_MAX;
}

} // namespace

Lzma2File ReadSevenZipHeader(const InputFile &file)
{
    Description start(file, 0, kStartSize);
    start.Fixed(6); // the signature
    start.Fixed(6); // the version, and a checksum of what follows
    const std::uint64_t headerOffset = start.Fixed(8);
    const std::uint64_t headerSize = start.Fixed(8);
    if (headerOffset > file.Size() || headerSize > kLargestHeader) {
        throw BadBlock();
    }
    Description header(file, kStartSize + headerOffset, headerSize);
    Lzma2File packed = {};
    packed.begin = kStartSize;
    header.Expect({1, 4, 6, 0, 1, 9}); // one packed stream, behind the start
    const std::uint64_t packedSize = header.Number();
    if (packedSize > headerOffset) {
        throw BadBlock();
    }
    packed.end = kStartSize + packedSize;
    header.Expect({0, 7, 11, 1, 0, 1, 0x21, 0x21, 1}); // unpacked by LZMA2, which has one property
    packed.dictionary = DictionarySize(header.Byte());
    header.Expect({12});
    packed.size = header.Number();
    header.Expect({0, 8, 10, 1}); // to a whole whose checksum is known
    packed.crc = static_cast<std::uint32_t>(header.Fixed(4));
    header.Expect({0, 0, 5, 1}); // which is one file
    return packed;
}
