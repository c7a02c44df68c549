#pragma once

#include <QByteArray>
#include <QString>

/// The SHA3-512 digest of \a data, 64 raw bytes. Empty for empty data, instead of the digest of
/// nothing.
QByteArray GenerateHashFromData(const QByteArray &data);

/// The same for a whole file of any size; empty also if it can't be read.
QByteArray GenerateHashFromFile(const QString &path);
