#pragma once

#include <QHostAddress>
#include <QStringList>

// Checks of the form alone, looser than the standards: parts may be out of range, and for IPv4 a
// part that is no number counts as 0. With with_port the text must end in a port above 0.

/// "1.2.3.4", or "1.2.3.4:80" with \a with_port.
bool IsValidIP4(QString ip, bool with_port);

/// One to eight hexadecimal groups, empty ones among them; "[::1]:80" with \a with_port.
bool IsValidIP6(QString ip, bool with_port);

/// Takes a text with a "." for IPv4 and any other for IPv6; false for an empty one.
bool IsValidIP(QString ip, bool with_port);

// Questions about the local network. Those that resolve a name block until that is done.

/// The addresses of this machine's interfaces. \a no_localhost leaves out 127.0.0.1 only.
QStringList GetLocalIPs(bool no_ip4, bool no_ip6, bool no_localhost);

/// Tells whether \a address is this machine, is of a kind that stays local, or is on the network of
/// one of the machine's interfaces.
///
/// For IPv4, \a mask says which bits name the network, the first byte in the top ones; with 0 every
/// IPv4 address is local. It plays no part for IPv6, where only the very address of an interface
/// counts as its network.
bool IsIpAddressLocal(const QHostAddress &address, unsigned int mask);
bool IsIpAddressLocal(const QString &address, unsigned int mask);

/// Tells whether a public name resolves to an address that isn't local.
bool IsInternetAvailable();
