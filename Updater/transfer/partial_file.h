#pragma once

#include <QByteArray>
#include <QString>

/// The tail of a partial file, by which the next attempt proves what the file holds, see
/// docs/formats.md.
struct PartialFileTail
{
    static constexpr int kSize = 40;
    static constexpr int kStampSize = 24;

    qint64 sum = 0;    // of the data's bytes
    qint64 length = 0; // of the data
    QString stamp;     // kStampSize characters that name the version of the remote file

    /// Takes exactly kSize bytes.
    static PartialFileTail FromBytes(const QByteArray &bytes);
    QByteArray ToBytes() const;
};
