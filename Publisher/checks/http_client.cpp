#include "checks/http_client.h"

#include "Repository/http_status.h"
#include "Repository/names.h"
#include "base/failure.h"
#include "files.h"

#include <QDateTime>
#include <QEventLoop>
#include <QNetworkReply>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslError>
#include <QTimer>

#include <optional>

namespace {

const int kLongestSilence = 10000;   // ms without data, as for the updater's HEAD
const int kMostLate = 3;             // answers; a server that stalls so often is asked no more
const qint64 kReadAhead = 1 << 20;   // bytes; the most that a reply buffers
const int kCertificateEndsSoon = 14; // days

/// One request under way. It dies with its reply.
class Transfer : public QObject
{
public:
    using Done = std::function<void(const HttpAnswer &answer, const QString &disk_failure)>;

    Transfer(QNetworkReply *reply, const HttpRequest &request, Done done)
        : QObject(reply)
        , m_reply(reply)
        , m_request(request)
        , m_done(std::move(done))
    {
        reply->setReadBufferSize(kReadAhead);
        connect(reply, &QNetworkReply::encrypted, this,
                [this] { m_answer.is_on_new_connection = true; });
        connect(reply, &QNetworkReply::metaDataChanged, this, [this] { m_patience.start(); });
        connect(reply, &QIODevice::readyRead, this, [this] {
            m_patience.start();
            if (!Read())
                End();
        });
        connect(reply, &QNetworkReply::finished, this, &Transfer::End);
        connect(&m_patience, &QTimer::timeout, this, [this] {
            m_answer.is_late = true;
            m_answer.failure = QString("nothing came for %1 s").arg(kLongestSilence / 1000);
            End();
        });
        m_patience.setSingleShot(true);
        m_patience.start(kLongestSilence);
    }

private:
    int Status() const
    {
        return m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    }
    bool BringsTheFile() const { return Status() < kMultipleChoices; }

    /// Reads until nothing is left: what stays in a reply of limited size is never signalled again.
    /// False if what is to follow is of no use.
    bool Read()
    {
        while (IsWanted() && m_reply->bytesAvailable() > 0) {
            const QByteArray bytes = m_reply->read(kReadAhead);
            m_received += bytes.size();
            if (m_received > m_request.limit)
                m_answer.failure = QString("it has more than %1 bytes").arg(m_request.limit);
            else
                WithFile([&bytes](OutputFile &file) { file.Write(bytes); });
        }
        return IsWanted();
    }
    bool IsWanted() const { return BringsTheFile() && m_answer.failure.isEmpty(); }

    /// Does \a work on the file that the body goes into, if there is one.
    void WithFile(const std::function<void(OutputFile &)> &work)
    {
        if (m_request.file_path.isEmpty() || !BringsTheFile())
            return;
        try {
            if (!m_file)
                m_file.emplace(m_request.file_path);
            work(*m_file);
        } catch (const Failure &failure) {
            m_diskFailure = QString::fromLocal8Bit(failure.what());
            m_answer.failure = m_diskFailure;
        }
    }

    /// Takes the answer as it is now, whether or not the reply has finished.
    void End()
    {
        m_reply->disconnect(this);
        m_patience.stop();
        Read();
        WithFile([](OutputFile &file) { file.Close(); });
        m_answer.status = Status();
        for (const QNetworkReply::RawHeaderPair &header : m_reply->rawHeaderPairs())
            m_answer.headers[header.first.toLower()] = header.second;
        if (m_answer.failure.isEmpty())
            m_answer.failure = ReplyFailure();
        m_file.reset();
        if (!m_answer.failure.isEmpty() && !m_request.file_path.isEmpty())
            QFile::remove(m_request.file_path);
        m_reply->deleteLater();
        m_done(m_answer, m_diskFailure);
    }

    QString ReplyFailure() const
    {
        if (!BringsTheFile())
            return {};
        if (m_reply->error() != QNetworkReply::NoError)
            return m_reply->errorString();
        // Qt reports no error where the connection closes right behind the head.
        const qint64 announced = m_answer.headers.value("content-length").toLongLong();
        return m_request.head_only || m_received >= announced ? QString() : "connection closed";
    }

    QNetworkReply *m_reply;
    HttpRequest m_request;
    Done m_done;
    HttpAnswer m_answer;
    QString m_diskFailure;
    std::optional<OutputFile> m_file;
    qint64 m_received = 0;
    QTimer m_patience;
};

} // namespace

HttpClient::HttpClient()
{
    QObject::connect(&m_manager, &QNetworkAccessManager::sslErrors,
                     [this](QNetworkReply *reply, const QList<QSslError> &errors) {
                         for (const QSslError &error : errors)
                             AddCertificateFault(error.errorString());
                         reply->ignoreSslErrors();
                     });
    QObject::connect(&m_manager, &QNetworkAccessManager::encrypted,
                     [this](QNetworkReply *reply) { LookAtCertificate(reply); });
}

bool HttpClient::Ask(const QList<HttpRequest> &requests, int at_a_time, const Receive &receive)
{
    QEventLoop loop;
    QString disk_failure;
    int next = 0;
    int running = 0;
    int late = 0;
    const std::function<void()> start = [&] {
        for (; running < at_a_time && next < requests.size() && late < kMostLate; ++next) {
            const int number = next;
            ++running;
            new Transfer(Send(requests[number]), requests[number],
                         [&, number](const HttpAnswer &answer, const QString &failure) {
                             --running;
                             late += answer.is_late ? 1 : 0;
                             if (!failure.isEmpty()) {
                                 disk_failure = failure;
                                 next = requests.size();
                             }
                             receive(number, answer);
                             start();
                         });
        }
        if (running == 0)
            loop.quit();
    };
    start();
    if (running > 0)
        loop.exec();
    if (!disk_failure.isEmpty())
        Fail(disk_failure);
    return next == requests.size();
}

HttpAnswer HttpClient::Ask(const HttpRequest &request)
{
    HttpAnswer answer;
    Ask({request}, 1, [&answer](int, const HttpAnswer &received) { answer = received; });
    return answer;
}

QNetworkReply *HttpClient::Send(const HttpRequest &request)
{
    QNetworkRequest question(QUrl(request.url, QUrl::TolerantMode));
    question.setHeader(QNetworkRequest::UserAgentHeader, UserAgent());
    question.setRawHeader("Accept-Encoding", "identity");
    if (request.offset > 0)
        question.setRawHeader("Range", "bytes=" + QByteArray::number(request.offset) + "-");
    return request.head_only ? m_manager.head(question) : m_manager.get(question);
}

void HttpClient::LookAtCertificate(const QNetworkReply *reply)
{
    const QDateTime end = reply->sslConfiguration().peerCertificate().expiryDate();
    const QDateTime now = QDateTime::currentDateTimeUtc();
    if (end > now && end < now.addDays(kCertificateEndsSoon))
        AddCertificateFault("it expires on " + end.date().toString(Qt::ISODate));
}

void HttpClient::AddCertificateFault(const QString &fault)
{
    if (!m_certificateFaults.contains(fault))
        m_certificateFaults << fault;
}
