#include "read/seven_zip_header.h"

#include "base/failure.h"

#include <initializer_list>
#include <string>

namespace {

constexpr std::size_t kSignatureHeaderSize = 32;
constexpr std::size_t kLargestHeader = 4096; // that of one file is hardly larger than its name

// Property IDs of 7zFormat.txt.
constexpr unsigned char kEnd = 0;
constexpr unsigned char kHeader = 1;
constexpr unsigned char kMainStreamsInfo = 4;
constexpr unsigned char kFilesInfo = 5;
constexpr unsigned char kPackInfo = 6;
constexpr unsigned char kUnPackInfo = 7;
constexpr unsigned char kSubStreamsInfo = 8;
constexpr unsigned char kSize = 9;
constexpr unsigned char kCRC = 10;
constexpr unsigned char kFolder = 11;
constexpr unsigned char kCodersUnPackSize = 12;

constexpr unsigned char kLzma2 = 0x21;                  // the coder's ID
constexpr unsigned char kOneByteIdAndProperties = 0x21; // flags of the coder

Failure OtherKind()
{
    return Failure("is no 7z with a single file of LZMA2");
}

/// Reads a header of a 7z, front to back.
class HeaderReader
{
public:
    HeaderReader(const InputFile &file, std::uint64_t offset, std::size_t size)
        : m_bytes(size, '\0')
    {
        if (file.ReadAt(offset, m_bytes.data(), size) != size)
            throw OtherKind();
    }

    unsigned char Byte()
    {
        if (m_at == m_bytes.size())
            throw OtherKind();
        return static_cast<unsigned char>(m_bytes[m_at++]);
    }

    void Expect(std::initializer_list<unsigned char> bytes)
    {
        for (const unsigned char byte : bytes)
            if (Byte() != byte)
                throw OtherKind();
    }

    /// A number of \a size bytes, the lowest first.
    std::uint64_t Fixed(unsigned size)
    {
        std::uint64_t number = 0;
        for (unsigned i = 0; i < size; ++i)
            number |= std::uint64_t{Byte()} << 8 * i;
        return number;
    }

    /// A NUMBER: the first byte has as many leading ones as bytes follow it; its other bits are the
    /// highest of the number.
    std::uint64_t Number()
    {
        const unsigned first = Byte();
        unsigned size = 0;
        while ((first << size & 0x80U) != 0)
            ++size;
        if (size == 8)
            throw OtherKind(); // larger than any size can be
        const std::uint64_t top = first & (0x7fU >> size);
        return Fixed(size) | top << 8 * size;
    }

private:
    std::string m_bytes;
    std::size_t m_at = 0;
};

/// The size in bytes that the property of LZMA2 stands for: 2 or 3 times a power of two.
std::uint32_t DictionarySize(unsigned property)
{
    constexpr unsigned kLargest = 40; // means 4 GB
    return property < kLargest ? (2U | (property & 1U)) << (property / 2 + 11) : UINT32_MAX;
}

} // namespace

Lzma2File ReadSevenZipHeader(const InputFile &file)
{
    HeaderReader start(file, 0, kSignatureHeaderSize);
    start.Fixed(6); // signature
    start.Fixed(2); // version
    start.Fixed(4); // CRC of the three numbers that follow
    const std::uint64_t next_header_offset = start.Fixed(8);
    const std::uint64_t next_header_size = start.Fixed(8);
    if (next_header_offset > file.Size() || next_header_size > kLargestHeader)
        throw OtherKind();
    HeaderReader header(file, kSignatureHeaderSize + next_header_offset, next_header_size);
    Lzma2File content = {};
    header.Expect({kHeader, kMainStreamsInfo});
    header.Expect({kPackInfo, /* packPos */ 0, /* numPackStreams */ 1, kSize});
    const std::uint64_t pack_size = header.Number();
    if (pack_size > next_header_offset)
        throw OtherKind();
    content.begin = kSignatureHeaderSize;
    content.end = kSignatureHeaderSize + pack_size;
    header.Expect({kEnd, kUnPackInfo, kFolder, /* numFolders */ 1, /* external */ 0});
    header.Expect({/* numCoders */ 1, kOneByteIdAndProperties, kLzma2, /* propertiesSize */ 1});
    content.dictionary_size = DictionarySize(header.Byte());
    header.Expect({kCodersUnPackSize});
    content.size = header.Number();
    header.Expect({kEnd, kSubStreamsInfo, kCRC, /* allAreDefined */ 1});
    content.crc = static_cast<std::uint32_t>(header.Fixed(4));
    header.Expect({kEnd, kEnd, kFilesInfo, /* numFiles */ 1});
    return content;
}
