#pragma once

#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

/// A private nginx that serves one directory over TLS, with the configuration of the demo.
///
/// It accepts connections from the constructor, which ends the program if it can't have it so, to
/// the destructor, and no longer than the test program, however that ends. Its certificate is
/// signed by nobody, so a client must not verify it.
class NginxServer
{
public:
    /// \a document_root may change while the server runs; \a bytes_per_second holds for each
    /// transfer by itself, 0 is as fast as possible.
    explicit NginxServer(const QString &document_root, int bytes_per_second = 0);
    ~NginxServer();

    /// Without a trailing "/".
    QString Url() const;

    /// One line for each answered request, in the order of their ends, such as
    /// GET /a.zip 206 range="bytes=5-" sent=995 agent="...". HEAD has sent=0.
    QStringList AccessLog() const;

private:
    QTemporaryDir m_prefix;
    quint16 m_port = 0;
    QProcess m_process;
};
