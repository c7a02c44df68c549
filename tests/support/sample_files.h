#pragma once

#include <QString>

/// What names the version of a file where it does not matter which.
const QString kStamp = "2024-05-01T12:30:45.000Z";

/// Makes the folders in front of it. An empty \a stamp is the moment.
bool WriteFile(const QString &path, const QByteArray &bytes, const QString &stamp = QString());
QByteArray ReadFile(const QString &path);

/// The same for the same size, and different from place to place.
QByteArray RandomBytes(int size);

/// Each byte as a value from 0 to 255.
qint64 ByteSum(const QByteArray &bytes);

/// A partial file that holds \a data: the tail behind it is built from its format, and not with the
/// code under test. \a stamp is what names the version, 24 characters.
QByteArray PartialFile(const QByteArray &data, const QString &stamp);

/// The tail alone.
QByteArray Tail(qint64 sum, qint64 length, const QString &stamp);
