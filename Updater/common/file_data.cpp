#include "common/file_data.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace {

const qint64 kBlockSize = 1000000;

// The sum of 256 bytes fits 16 bits, and a compiler vectorises a sum of constant length in the
// width that it is declared in: with a wider one, most of the time would go into widening.
const int kStretch = 256;

quint16 SumOfStretch(const unsigned char *bytes)
{
    quint16 sum = 0;
    for (int i = 0; i < kStretch; ++i)
        sum = static_cast<quint16>(sum + bytes[i]);
    return sum;
}

qint64 SumOfBytes(const unsigned char *begin, const unsigned char *end)
{
    qint64 sum = 0;
    for (; end - begin >= kStretch; begin += kStretch)
        sum += SumOfStretch(begin);
    return std::accumulate(begin, end, sum);
}

} // namespace

qint64 GetFileDataChecksum(QFile &file, qint64 limit)
{
    std::vector<unsigned char> block(static_cast<size_t>(kBlockSize));
    qint64 sum = 0;
    qint64 done = 0;
    while (limit <= 0 || done < limit) {
        const qint64 wanted = limit > 0 ? std::min(kBlockSize, limit - done) : kBlockSize;
        file.seek(done);
        const qint64 got = file.read(reinterpret_cast<char *>(block.data()), wanted);
        if (got <= 0)
            break;
        sum += SumOfBytes(block.data(), block.data() + got);
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
    data = file.readAll();
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
