#pragma once

#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

/// A private nginx that serves one directory over TLS, with the configuration of the demo.
///
/// It runs from Start() to Stop() or the destructor, and no longer than the test program, however
/// that ends. Its certificate is signed by nobody, so a client must not verify it. A stopped server
/// can be started again and answers at the same address.
class NginxServer
{
public:
    /// \a document_root may change while the server runs; \a bytes_per_second holds for each
    /// transfer by itself, 0 is as fast as possible.
    explicit NginxServer(const QString &document_root, int bytes_per_second = 0);
    ~NginxServer();

    /// True once connections are accepted; otherwise Errors() tells why not.
    bool Start();
    void Stop();

    quint16 Port() const { return m_port; }
    /// "https://" and \a host with the port, without a trailing "/".
    QString Url(const QString &host = "localhost") const;

    /// One line for each answered request, in the order of their ends, such as
    /// GET /a.zip 206 range="bytes=5-" sent=995 agent="...". HEAD has sent=0.
    QStringList AccessLog() const;
    QString Errors();

private:
    bool WaitUntilItAccepts();

    QTemporaryDir m_prefix;
    QString m_documentRoot;
    int m_bytesPerSecond;
    quint16 m_port = 0; // 0: not chosen yet
    QProcess m_process;
};
