#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QHostAddress>
#include <QStringList>

/// Asks public NTP servers for the time and sets \a time, in local time, to the first answer.
///
/// The answer is trusted as it is. False, and \a time stays, without an internet connection or an
/// answer. The call blocks: name look-ups apart, a silent server costs about a second.
bool GetNtpTime(QDateTime &time);

/// The same for these \a servers, in their order, at \a port.
///
/// \a address_of resolves a name; a server for which it gives a null address is passed over.
bool GetNtpTime(const QStringList &servers, quint16 port,
                QHostAddress (*address_of)(const QString &name), QDateTime &time);

/// The transmit timestamp of an NTP packet of at least 48 bytes, in local time.
///
/// Its 32-bit seconds are taken to lie between 1970 and 2106.
QDateTime NtpTransmitTime(const QByteArray &packet);
