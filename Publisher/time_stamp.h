#pragma once

#include <QDateTime>

/// The time stamp of the file list, as Qt reads it out of HTTP's dates: 2024-05-01T12:00:00.000Z.
QString TimeStampOf(const QDateTime &date);

/// The date that such a \a stamp says; invalid for any other text.
QDateTime DateOfStamp(const QString &stamp);
