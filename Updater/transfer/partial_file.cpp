#include "transfer/partial_file.h"

#include "common/common_helper.h"
#include "transfer/filedownloader.h"

#include <QFile>
#include <QtEndian>

PartialFileTail PartialFileTail::FromBytes(const QByteArray &bytes)
{
    PartialFileTail tail;
    tail.sum = qFromLittleEndian<qint64>(bytes.constData());
    tail.length = qFromLittleEndian<qint64>(bytes.constData() + 8);
    tail.stamp = QString::fromLatin1(bytes.constData() + 16, kStampSize);
    return tail;
}

QByteArray PartialFileTail::ToBytes() const
{
    QByteArray bytes(16, '\0');
    qToLittleEndian(sum, bytes.data());
    qToLittleEndian(length, bytes.data() + 8);
    return bytes + stamp.toLatin1();
}

qint64 FileDownloader::ReadTailBytes(QFile &file, const QString &stamp, bool truncate_tail)
{
    const qint64 length = file.size() - PartialFileTail::kSize;
    if (length < 0)
        return 0;
    file.seek(length);
    const QByteArray bytes = file.read(PartialFileTail::kSize);
    if (bytes.size() < PartialFileTail::kSize)
        return -1;
    file.seek(file.size());

    const PartialFileTail tail = PartialFileTail::FromBytes(bytes);
    if (tail.length != length || (!stamp.isEmpty() && tail.stamp != stamp))
        return -1;
    if (truncate_tail)
        file.resize(length);
    file.flush();
    return tail.sum;
}

void FileDownloader::AddTailBytes(QFile &file, QString &stamp, qint64 running_sum,
                                  unsigned char *data, int data_length)
{
    if (file.size() == 0)
        return;
    PartialFileTail tail;
    tail.sum = running_sum + SumOfBytes(data, data + qMax(data_length, 0));
    tail.length = file.size();
    tail.stamp = stamp.leftJustified(PartialFileTail::kStampSize, '0', true);
    if (!stamp.isEmpty())
        stamp = tail.stamp; // the next tail is compared with what is stored
    file.seek(file.size());
    file.write(tail.ToBytes());
}

qint64 FileDownloader::GetDownloadedFileDetails(const QString &path, const QString &stamp)
{
    if (!IsFilePresent(path))
        return 0;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const qint64 sum = ReadTailBytes(file, stamp, false);
    if (sum <= 0)
        return 0;
    const qint64 length = file.size() - PartialFileTail::kSize;
    return GetFileDataChecksum(file, length) == sum ? length : 0;
}
