#include "common/digest.h"

#include <QCryptographicHash>
#include <QFile>

QByteArray GenerateHashFromData(const QByteArray &data)
{
    if (data.isEmpty())
        return QByteArray();
    return QCryptographicHash::hash(data, QCryptographicHash::Sha3_512);
}

QByteArray GenerateHashFromFile(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha3_512);
    if (!file.open(QFile::ReadOnly) || file.peek(1).isEmpty() || !hash.addData(&file))
        return QByteArray();
    return hash.result();
}
