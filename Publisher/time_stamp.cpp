#include "time_stamp.h"

QString TimeStampOf(const QDateTime &date)
{
    return QDateTime::fromSecsSinceEpoch(date.toSecsSinceEpoch(), Qt::UTC)
        .toString(Qt::ISODateWithMs);
}

QDateTime DateOfStamp(const QString &stamp)
{
    const QDateTime date = QDateTime::fromString(stamp, Qt::ISODateWithMs);
    return date.isValid() && TimeStampOf(date) == stamp ? date : QDateTime();
}
