#include "support/sample_files.h"

#include <QDataStream>
#include <QDateTime>
#include <QDir>
#include <QRandomGenerator>

#include <algorithm>
#include <numeric>

bool WriteFile(const QString &path, const QByteArray &bytes, const QString &stamp)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush()
           && (stamp.isEmpty()
               || file.setFileTime(QDateTime::fromString(stamp, Qt::ISODateWithMs),
                                   QFile::FileModificationTime));
}

QByteArray ReadFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

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
    QByteArray bytes;
    QDataStream numbers(&bytes, QIODevice::WriteOnly);
    numbers.setByteOrder(QDataStream::LittleEndian);
    numbers << sum << length;
    return bytes + stamp.toLatin1();
}
