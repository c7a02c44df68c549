#pragma once

#include <QHash>
#include <QNetworkAccessManager>
#include <QStringList>

#include <functional>

/// A request such as the updater makes.
struct HttpRequest
{
    QString url;
    bool head_only = false;
    qint64 offset = 0; // above 0: only the bytes from here on are asked for
    QString file_path; // where the body of a 200 or 206 goes; empty: nowhere
    qint64 limit = 0;  // bytes of a body; a longer one is a failure
};

/// What came of it.
struct HttpAnswer
{
    QString failure; // why no answer came, or not all of it; empty for a 404 that came well
    int status = 0;
    QHash<QByteArray, QByteArray> headers; // by their names in lower case
    bool is_on_new_connection = false;     // of TLS
    bool is_late = false;                  // the failure is that nothing came for too long
};

/// Asks a server as the updater does, but several requests at a time. Needs an application that may
/// have threads.
class HttpClient
{
public:
    HttpClient();

    using Receive = std::function<void(int number, const HttpAnswer &answer)>;
    /// Sends all \a requests, at most \a at_a_time of them at once, and waits for the answers;
    /// \a receive gets each with the number of its request, and must not throw. False where the
    /// server stalled so often that the others were not sent. Throws a Failure where a body can't
    /// be written to the disk.
    bool Ask(const QList<HttpRequest> &requests, int at_a_time, const Receive &receive);
    HttpAnswer Ask(const HttpRequest &request);

    /// What is wrong with the certificates that came, each once.
    QStringList CertificateFaults() const { return m_certificateFaults; }

private:
    QNetworkReply *Send(const HttpRequest &request);
    void LookAtCertificate(const QNetworkReply *reply);
    void AddCertificateFault(const QString &fault);

    QNetworkAccessManager m_manager;
    QStringList m_certificateFaults;
};
