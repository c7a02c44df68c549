#include "support/nginx_server.h"

#include "support/files.h"

#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>

namespace {
const int kStartLimitMs = 10000;
const int kStopLimitMs = 5000;

quint16 FreePort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    return probe.serverPort();
}
} // namespace

NginxServer::NginxServer(const QString &document_root, int bytes_per_second)
    : m_documentRoot(document_root)
    , m_bytesPerSecond(bytes_per_second)
{
}

NginxServer::~NginxServer()
{
    Stop();
}

bool NginxServer::Start()
{
    if (m_port == 0)
        m_port = FreePort();
    m_process.start(ZEFT_SERVE_SCRIPT, {m_documentRoot, m_prefix.path(), QString::number(m_port),
                                        QString::number(m_bytesPerSecond)});
    return m_process.waitForStarted() && WaitUntilItAccepts();
}

void NginxServer::Stop()
{
    m_process.terminate();
    if (!m_process.waitForFinished(kStopLimitMs)) {
        m_process.kill();
        m_process.waitForFinished();
    }
}

QString NginxServer::Url(const QString &host) const
{
    return QString("https://%1:%2").arg(host).arg(m_port);
}

QStringList NginxServer::AccessLog() const
{
    QStringList lines = QString(ReadFile(m_prefix.filePath("access.log"))).split('\n');
    lines.removeLast(); // what follows the last line end
    return lines;
}

QString NginxServer::Errors()
{
    return m_process.readAllStandardError() + ReadFile(m_prefix.filePath("error.log"));
}

bool NginxServer::WaitUntilItAccepts()
{
    QElapsedTimer clock;
    clock.start();
    while (!clock.hasExpired(kStartLimitMs) && !m_process.waitForFinished(10)) {
        QTcpSocket socket;
        socket.connectToHost(QHostAddress::LocalHost, m_port);
        if (socket.waitForConnected(100))
            return true;
    }
    return false;
}
