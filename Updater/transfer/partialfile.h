#pragma once

#include <QByteArray>
#include <QString>

/// The tail of a partial file: 40 bytes behind the data, by which the next attempt proves what the
/// file holds. Little-endian: the sum of the data's bytes (64 bits), their number (64 bits), and 24
/// characters of Latin-1 that name the version of the remote file.
struct PartialFileTail
{
    static constexpr int kSize = 40;
    static constexpr int kStampSize = 24;

    qint64 sum = 0;
    qint64 length = 0;
    QString stamp; // kStampSize characters: filled up with "0", or cut

    /// Takes exactly kSize bytes.
    static PartialFileTail FromBytes(const QByteArray &bytes);
    QByteArray ToBytes() const;
};
