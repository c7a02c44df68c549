#include "support/file_bytes.h"

#include <QRandomGenerator>

#include <algorithm>
#include <numeric>

namespace {
QByteArray LittleEndian(qint64 value)
{
    QByteArray bytes;
    for (int shift = 0; shift < 64; shift += 8)
        bytes += static_cast<char>(value >> shift);
    return bytes;
}
} // namespace

QByteArray RandomBytes(int size)
{
    QByteArray bytes(size, '\0');
    QRandomGenerator random(1);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random.generate()); });
    return bytes;
}

qint64 ByteSum(const QByteArray &bytes)
{
    return std::accumulate(bytes.begin(), bytes.end(), qint64(0), [](qint64 sum, char byte) {
        return sum + static_cast<unsigned char>(byte);
    });
}

QByteArray PartialFile(const QByteArray &data, const QString &stamp)
{
    return data + Tail(ByteSum(data), data.size(), stamp);
}

QByteArray Tail(qint64 sum, qint64 length, const QString &stamp)
{
    return LittleEndian(sum) + LittleEndian(length) + stamp.toLatin1();
}
