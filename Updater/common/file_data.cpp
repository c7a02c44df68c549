#include "common/file_data.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <vector>

namespace {

const qint64 kBlockSize = 1000000;

// Loops of constant length over 16-bit lanes: gcc vectorises them at -O2, and no lane overflows
// before kLaneRounds bytes of 255 went into it.
const int kLanes = 32;
const int kLaneRounds = 256;

void AddToLanes(std::array<quint16, kLanes> &lanes, const unsigned char *bytes)
{
    for (size_t i = 0; i < kLanes; ++i)
        lanes[i] = static_cast<quint16>(lanes[i] + bytes[i]);
}

qint64 SumOfBytes(const unsigned char *begin, const unsigned char *end)
{
    qint64 sum = 0;
    while (end - begin >= kLanes) {
        std::array<quint16, kLanes> lanes{};
        const auto rounds = std::min<qint64>(kLaneRounds, (end - begin) / kLanes);
        for (qint64 round = 0; round < rounds; ++round, begin += kLanes)
            AddToLanes(lanes, begin);
        sum = std::accumulate(lanes.begin(), lanes.end(), sum);
    }
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
