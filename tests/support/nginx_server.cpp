#include "support/nginx_server.h"

#include "support/sample_files.h"

#include <QTcpServer>
#include <QTcpSocket>

NginxServer::NginxServer(const QString &document_root, int bytes_per_second)
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    m_port = probe.serverPort(); // a free one
    probe.close();
    m_process.start(ZEFT_SERVE_SCRIPT, {document_root, m_prefix.path(), QString::number(m_port),
                                        QString::number(bytes_per_second)});
    QTcpSocket socket;
    do {
        m_process.waitForFinished(10);
        if (m_process.state() == QProcess::NotRunning)
            qFatal("%s%s", m_process.readAllStandardError().constData(),
                   ReadFile(m_prefix.filePath("error.log")).constData());
        socket.connectToHost(QHostAddress::LocalHost, m_port);
    } while (!socket.waitForConnected());
}

NginxServer::~NginxServer()
{
    m_process.kill(); // a test may have stopped it
    m_process.waitForFinished();
}

QString NginxServer::Url() const
{
    return QString("https://localhost:%1").arg(m_port);
}

QStringList NginxServer::AccessLog() const
{
    QStringList lines = QString(ReadFile(m_prefix.filePath("access.log"))).split('\n');
    lines.removeLast(); // what follows the last line end
    return lines;
}
