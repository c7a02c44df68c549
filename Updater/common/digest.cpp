#include "common/digest.h"

#include "common/file_data.h"

#include <QCryptographicHash>

QByteArray GenerateHashFromData(const QByteArray &data)
{
    if (data.isEmpty())
        return QByteArray();
    return QCryptographicHash::hash(data, QCryptographicHash::Sha3_512);
}

QByteArray GenerateHashFromFile(const QString &path)
{
    QByteArray data;
    GetFileData(path, data);
    return GenerateHashFromData(data);
}
