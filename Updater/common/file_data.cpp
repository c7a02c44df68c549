#include "common/file_data.h"

#include <algorithm>
#include <array>
#include <memory>

namespace {

const int kBlockSize = 1000000;

struct alignas(64) Block // the kernel copies faster to the start of a cache line
{
    std::array<unsigned char, kBlockSize> bytes;
};

} // namespace

qint64 GetFileDataChecksum(QFile &file, qint64 limit)
{
    const auto block = std::make_unique<Block>();
    unsigned char *const bytes = block->bytes.data();
    qint64 sum = 0;
    qint64 done = 0;
    while (limit <= 0 || done < limit) {
        const qint64 wanted = limit > 0 ? std::min<qint64>(kBlockSize, limit - done) : kBlockSize;
        file.seek(done);
        const qint64 got = file.read(reinterpret_cast<char *>(bytes), wanted);
        if (got <= 0)
            break;
        sum += SumOfBytes(bytes, bytes + got);
        done += got;
    }
    return sum;
}

qint64 GetFileDataChecksum(const QString &path, qint64 limit)
{
    QFile file(path);
    return file.open(QFile::ReadOnly) ? GetFileDataChecksum(file, limit) : -1;
}

bool GetFileData(const QString &path, QByteArray &data)
{
    QFile file(path);
    if (!file.open(QFile::ReadOnly))
        return false;
    const QByteArray bytes = file.readAll(); // nothing of 2 GiB and more, and no error
    if (bytes.size() < file.size())
        return false;
    data = bytes;
    return true;
}

qint64 ReadFileData(const QString &path, QByteArray &data)
{
    GetFileData(path, data);
    return data.size();
}

bool CreateNewFile(const QString &path, const QByteArray &data)
{
    QFile file(path);
    if (!file.open(QFile::WriteOnly | QFile::Truncate))
        return false;
    file.write(data);
    file.flush();
    return true;
}

bool WriteFileData(const QString &path, const QByteArray &data)
{
    QFile file(path);
    return file.open(QFile::WriteOnly | QFile::Truncate) && file.write(data) == data.size()
           && file.flush(); // small data waits in the file's buffer until here
}

void CopyByteArray(unsigned char *destination, const unsigned char *source, int count, bool reverse)
{
    if (count <= 0)
        return;
    if (reverse)
        std::reverse_copy(source, source + count, destination);
    else
        std::copy_n(source, count, destination);
}
