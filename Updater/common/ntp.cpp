#include "common/ntp.h"

#include "common/net_address.h"

#include <QHostInfo>
#include <QThread>
#include <QUdpSocket>
#include <QtEndian>

namespace {

const int kPacketSize = 48;
const quint16 kServerPort = 123;
const quint16 kLocalPort = 52875;
const quint32 kSecondsFrom1900To1970 = 2208988800U;

// In Base64
const char *const kServers[] = {
    "MC5wb29sLm50cC5vcmc=", "MS5wb29sLm50cC5vcmc=", "Mi5wb29sLm50cC5vcmc=", "My5wb29sLm50cC5vcmc=",
    "dGltZS5uaXN0Lmdvdg=="};

/// The first address of \a name, or null if that is local or if there is none.
QHostAddress PublicAddress(const QString &name)
{
    const QList<QHostAddress> found = QHostInfo::fromName(name).addresses();
    const bool usable = !found.isEmpty() && !IsIpAddressLocal(found.first(), 0xFF000000);
    return usable ? found.first() : QHostAddress();
}

/// Waits at most half a second for a whole packet; empty if none came.
QByteArray AwaitPacket(QUdpSocket &socket)
{
    for (int i = 0; i < 10; ++i) {
        QThread::msleep(50);
        if (!socket.hasPendingDatagrams())
            continue;
        // What is too short for a packet is read too, or it would hide the one behind it.
        QByteArray packet(static_cast<int>(socket.pendingDatagramSize()), '\0');
        socket.readDatagram(packet.data(), packet.size());
        if (packet.size() >= kPacketSize)
            return packet;
    }
    return QByteArray();
}

/// Makes two attempts to get a packet out of a server; empty if both failed.
QByteArray AskServer(QUdpSocket &socket, const QHostAddress &address, quint16 port)
{
    QByteArray request(kPacketSize, '\0');
    request[0] = 0x1B; // no leap second, version 3, client
    QByteArray reply;
    for (int attempt = 0; attempt < 2 && reply.isEmpty(); ++attempt) {
        if (socket.writeDatagram(request, address, port) == request.size())
            reply = AwaitPacket(socket);
        else
            QThread::msleep(100);
    }
    return reply;
}

} // namespace

bool GetNtpTime(QDateTime &time)
{
    if (!IsInternetAvailable())
        return false;
    QStringList servers;
    for (const char *name : kServers)
        servers.append(QString::fromUtf8(QByteArray::fromBase64(name).constData()));
    return GetNtpTime(servers, kServerPort, PublicAddress, time);
}

bool GetNtpTime(const QStringList &servers, quint16 port,
                QHostAddress (*address_of)(const QString &name), QDateTime &time)
{
    QUdpSocket socket;
    socket.bind(kLocalPort); // any other port does as well
    for (const QString &server : servers) {
        const QHostAddress address = address_of(server);
        if (address.isNull())
            continue;
        const QByteArray reply = AskServer(socket, address, port);
        if (!reply.isEmpty()) {
            time = NtpTransmitTime(reply);
            return true;
        }
    }
    return false;
}

QDateTime NtpTransmitTime(const QByteArray &packet)
{
    const auto seconds = qFromBigEndian<quint32>(packet.constData() + 40);
    const auto fraction = qFromBigEndian<quint32>(packet.constData() + 44);
    const quint32 unix_seconds = seconds - kSecondsFrom1900To1970; // goes round in 2036
    return QDateTime::fromSecsSinceEpoch(unix_seconds)
        .addMSecs(static_cast<qint64>(fraction / 4294967295.0 * 1000.0));
}
