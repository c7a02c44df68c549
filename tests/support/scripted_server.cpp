#include "support/scripted_server.h"

#include <QRegularExpression>
#include <QTcpSocket>
#include <QTimer>

ScriptedServer::ScriptedServer(const QByteArray &file)
    : m_file(file)
{
    connect(&m_server, &QTcpServer::newConnection, this, &ScriptedServer::Accept);
    m_server.listen(QHostAddress::LocalHost);
}

QString ScriptedServer::Url() const
{
    return QString("http://127.0.0.1:%1/a.zip").arg(m_server.serverPort());
}

QByteArray ScriptedServer::Head(const QByteArray &status, const QByteArray &headers)
{
    return "HTTP/1.1 " + status + "\r\n" + headers + "\r\n\r\n";
}

void ScriptedServer::Accept()
{
    QTcpSocket *socket = m_server.nextPendingConnection();
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    connect(socket, &QTcpSocket::readyRead, this, [this, socket] { Read(socket); });
    connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
        m_requests.remove(socket);
        socket->deleteLater();
    });
}

void ScriptedServer::Read(QTcpSocket *socket)
{
    QByteArray &request = m_requests[socket];
    request += socket->readAll();
    if (!request.endsWith("\r\n\r\n"))
        return;
    const QByteArray range =
        QRegularExpression("\r\nRange: ([^\r]*)").match(request).captured(1).toLatin1();
    m_ranges << range;
    Send(socket, m_script.isEmpty() ? Answer{GoodAnswer(request, range)} : m_script.takeFirst());
    m_requests.remove(socket);
}

QByteArray ScriptedServer::GoodAnswer(const QByteArray &request, const QByteArray &range) const
{
    const int offset = range.mid(6, range.size() - 7).toInt(); // "bytes=5-"
    const QByteArray size = QByteArray::number(m_file.size());
    QByteArray status = "200 OK";
    QByteArray headers = "Last-Modified: Wed, 01 May 2024 12:30:45 GMT";
    QByteArray body = m_file.mid(offset);
    if (!range.isEmpty() && body.isEmpty()) {
        status = "416 Range Not Satisfiable";
        headers += "\r\nContent-Range: bytes */" + size;
        body = "<html>416</html>";
    } else if (!range.isEmpty()) {
        status = "206 Partial Content";
        headers += "\r\nContent-Range: bytes " + QByteArray::number(offset) + "-"
                   + QByteArray::number(m_file.size() - 1) + "/" + size;
    }
    headers += "\r\nContent-Length: " + QByteArray::number(body.size());
    return Head(status, headers) + (request.startsWith("HEAD") ? QByteArray() : body);
}

void ScriptedServer::Send(QTcpSocket *socket, const Answer &answer)
{
    const int count = answer.pace > 0 ? answer.pace : answer.bytes.size();
    socket->write(answer.bytes.left(count));
    if (answer.bytes.size() <= count)
        return End(socket, answer.then);
    socket->flush();
    const Answer rest = {answer.bytes.mid(count), answer.then, answer.pace};
    QTimer::singleShot(1, socket, [this, socket, rest] { Send(socket, rest); });
}

void ScriptedServer::End(QTcpSocket *socket, Then then)
{
    if (then == KeepOpen)
        return;
    if (m_mayEnd())
        socket->disconnectFromHost();
    else
        QTimer::singleShot(1, socket, [this, socket, then] { End(socket, then); });
}
