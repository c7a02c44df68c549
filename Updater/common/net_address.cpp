#include "common/net_address.h"

#include "common/line_text.h"
#include "common/text_check.h"

#include <QHostInfo>
#include <QNetworkInterface>

#include <algorithm>

namespace {

const char *const kPublicName = "pool.ntp.org";

bool IsIp4(const QHostAddress &address)
{
    return address.protocol() == QAbstractSocket::IPv4Protocol;
}

bool IsOnNetworkOf(const QHostAddress &own, const QHostAddress &address, unsigned int mask)
{
    if (own.protocol() != address.protocol())
        return false;
    if (IsIp4(own))
        return (own.toIPv4Address() & mask) == (address.toIPv4Address() & mask);
    return own.isEqual(address, QHostAddress::TolerantConversion);
}

} // namespace

bool IsValidIP4(QString ip, bool with_port)
{
    if (with_port) {
        const QStringList parts = ip.split(':');
        if (parts.size() != 2 || parts.at(1).toInt() <= 0)
            return false;
        ip = parts.at(0);
    }
    const QStringList numbers = ip.split('.');
    return !ip.contains(':') && numbers.size() == 4
           && std::all_of(numbers.cbegin(), numbers.cend(),
                          [](const QString &number) { return number.toInt() >= 0; });
}

bool IsValidIP6(QString ip, bool with_port)
{
    if (ip.isEmpty())
        return false;
    if (with_port) {
        QStringList addresses;
        GetStringsBetweenCharacters(ip, QStringLiteral("["), QStringLiteral("]"), addresses);
        if (addresses.isEmpty() || ip.mid(ip.lastIndexOf(':') + 1).toInt() <= 0)
            return false;
        ip = addresses.first();
    }
    const QStringList groups = ip.split(':');
    return groups.size() <= 8
           && std::all_of(groups.cbegin(), groups.cend(), [](const QString &group) {
                  return group.isEmpty() || IsStringHexNumber(group);
              });
}

bool IsValidIP(QString ip, bool with_port)
{
    return ip.contains('.') ? IsValidIP4(std::move(ip), with_port)
                            : IsValidIP6(std::move(ip), with_port);
}

QStringList GetLocalIPs(bool no_ip4, bool no_ip6, bool no_localhost)
{
    QStringList ips;
    for (const QHostAddress &address : QNetworkInterface::allAddresses()) {
        if (no_localhost && address == QHostAddress(QHostAddress::LocalHost))
            continue;
        const bool ip6 = address.protocol() == QAbstractSocket::IPv6Protocol;
        if ((IsIp4(address) && !no_ip4) || (ip6 && !no_ip6))
            ips.append(address.toString());
    }
    return ips;
}

bool IsIpAddressLocal(const QHostAddress &address, unsigned int mask)
{
    if (QHostInfo::fromName(QStringLiteral("localhost")).addresses().contains(address))
        return true;
    if (IsIp4(address)) {
        const quint32 first_byte = address.toIPv4Address() >> 24;
        if (first_byte == 127 || first_byte == 10)
            return true;
    } else if (address.isLoopback() || address.isSiteLocal() || address.isUniqueLocalUnicast()) {
        return true;
    }
    const QList<QHostAddress> own = QNetworkInterface::allAddresses();
    return std::any_of(own.cbegin(), own.cend(), [&](const QHostAddress &here) {
        return IsOnNetworkOf(here, address, mask);
    });
}

bool IsIpAddressLocal(const QString &address, unsigned int mask)
{
    return IsIpAddressLocal(QHostAddress(address), mask);
}

bool IsInternetAvailable()
{
    const QList<QHostAddress> found = QHostInfo::fromName(kPublicName).addresses();
    return std::any_of(found.cbegin(), found.cend(), [](const QHostAddress &address) {
        return !IsIpAddressLocal(address, 0xFF000000);
    });
}
