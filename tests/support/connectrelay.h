#pragma once

#include <QTcpServer>

class QTcpSocket;

/// An HTTP proxy that knows CONNECT alone and leads every host to one port of the loopback.
///
/// The toolkit uses no proxy for a loopback host, so tests ask it for an invented one. It lives in
/// the thread of the test, whose event loop runs it.
class ConnectRelay : public QObject
{
    Q_OBJECT

public:
    explicit ConnectRelay(quint16 target);

    /// Accepts connections, after a Stop() at the same port as before.
    void Start();
    /// Hangs up on everybody and refuses new connections.
    void Stop();
    QString Port() const { return QString::number(m_port); }
    /// The "host:port" of all requests so far.
    QByteArrayList Targets() const { return m_targets; }

private:
    void Accept();
    void Connect(QTcpSocket *client);

    const quint16 m_target;
    quint16 m_port = 0;
    QByteArrayList m_targets;
    QTcpServer m_server;
};
