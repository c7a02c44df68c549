#include "support/connectrelay.h"

#include <QTcpSocket>

namespace {
void Lead(QTcpSocket *from, QTcpSocket *to)
{
    QObject::connect(from, &QTcpSocket::readyRead, to, [from, to] { to->write(from->readAll()); });
    QObject::connect(from, &QTcpSocket::disconnected, to, &QTcpSocket::disconnectFromHost);
}
} // namespace

ConnectRelay::ConnectRelay(quint16 target)
    : m_target(target)
{
    connect(&m_server, &QTcpServer::newConnection, this, &ConnectRelay::Accept);
    Start();
}

void ConnectRelay::Start()
{
    m_server.listen(QHostAddress::LocalHost, m_port);
    m_port = m_server.serverPort();
}

void ConnectRelay::Stop()
{
    m_server.close();
    qDeleteAll(m_server.findChildren<QTcpSocket *>(QString(), Qt::FindDirectChildrenOnly));
}

void ConnectRelay::Accept()
{
    QTcpSocket *client = m_server.nextPendingConnection();
    connect(client, &QTcpSocket::readyRead, this, [this, client] {
        if (client->peek(4096).contains("\r\n\r\n"))
            Connect(client);
    });
}

void ConnectRelay::Connect(QTcpSocket *client)
{
    m_targets << client->readAll().split(' ').value(1);
    client->disconnect(this);
    auto *server = new QTcpSocket(client);
    server->connectToHost(QHostAddress::LocalHost, m_target);
    Lead(client, server);
    Lead(server, client);
    client->write("HTTP/1.1 200 Connection established\r\n\r\n");
}
