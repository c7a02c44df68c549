#pragma once

#include <QString>

/// The same for the same size, and different from place to place.
QByteArray RandomBytes(int size);

/// Each byte as a value from 0 to 255.
qint64 ByteSum(const QByteArray &bytes);

/// A partial file that holds \a data: the tail behind it is built from its format, and not with the
/// code under test. \a stamp is what names the version, 24 characters.
QByteArray PartialFile(const QByteArray &data, const QString &stamp);

/// The tail alone.
QByteArray Tail(qint64 sum, qint64 length, const QByteArray &stamp);
