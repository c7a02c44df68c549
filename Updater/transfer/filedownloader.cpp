#include "transfer/filedownloader.h"

#include "Repository/http_status.h"
#include "Repository/manifests.h"
#include "Repository/names.h"
#include "app/datasingleton.h"
#include "transfer/partial_file.h"

#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QSslCipher>
#include <QSslConfiguration>

#include <cmath>
#include <limits>
#include <utility>

namespace {

const qint64 kBufferSize = 1000000; // staging buffer
// The most that a reply buffers. Qt's network thread reads 64 KiB at a time; with a buffer of that
// size it wakes the main thread once for each such block and not once for each TLS record.
const qint64 kReadAhead = 65536;

qint64 Now()
{
    return DataSingleton::Inst()->GetElapsedTime();
}

/// A percent without its fraction; 0 for one that is no number or far out of range.
qint64 WholePercent(float percent)
{
    return std::fabs(percent) < 1e15F ? static_cast<qint64>(percent) : 0;
}

} // namespace

FileDownloader::FileDownloader(QObject *parent)
    : QObject(parent)
    , m_buffer(new unsigned char[kBufferSize])
{
    connect(&m_timer, &QTimer::timeout, this, &FileDownloader::onTimer1000);
}

FileDownloader::~FileDownloader()
{
    if (m_reply)
        onCloseConnection();
    if (m_ownsManager && m_manager)
        m_manager->deleteLater(); // it takes its reply along, whose signal may be on the stack
    delete[] m_buffer;
}

bool FileDownloader::Start(QNetworkAccessManager *manager, const QString &url, bool head_only,
                           qint64 expected_size, const QString &file_path, const QString &stamp,
                           bool resume, int timeout_ms, void *user_data)
{
    if (m_reply)
        return false;

    m_resumeOffset = 0;
    m_lastModified.clear();
    m_contentLength.clear();
    m_error.clear();
    m_percent = 0.0F;
    m_data.clear();
    m_stalled = false;
    m_deleteOnClose = false;
    m_headOnly = head_only;
    m_probeAnswered = false;
    m_bufferFill = 0;
    m_lastPercent = 0;
    m_userData = user_data;
    m_stamp = stamp;
    m_timeout = timeout_ms;
    m_url = url;

    m_ownsManager = !manager;
    m_manager = manager ? manager : new QNetworkAccessManager(parent());
    if (!QSslSocket::supportsSsl()) {
        m_error = "SSL not initialized.";
        return false;
    }
    if (!OpenTarget(file_path, expected_size, resume)) {
        m_error = m_file.errorString();
        return false;
    }
    // An early hand-shake that nothing waits for. Qt takes the text for a host's name; as a whole
    // URL names none, the attempt ends by itself and contacts nobody.
    if (m_ownsManager)
        m_manager->connectToHostEncrypted(url, 443, QSslConfiguration::defaultConfiguration());

    m_request = QNetworkRequest(QUrl(url, QUrl::TolerantMode));
    m_request.setHeader(QNetworkRequest::UserAgentHeader, UserAgent());
    // A compressed reply has no Content-Length, and a range of one can't be decompressed.
    m_request.setRawHeader("Accept-Encoding", "identity");
    if (head_only || !resume)
        Download(head_only);
    else
        Resume();

    m_lastDataTime = Now();
    m_lastPercentTime = m_lastDataTime;
    m_timer.start(1000);
    return true;
}

/// Opens the file that is to be written, if there is one. \a resume stays set if its data is kept.
bool FileDownloader::OpenTarget(const QString &file_path, qint64 expected_size, bool &resume)
{
    m_file.close();
    m_file.setFileName(file_path);
    if (file_path.isEmpty())
        return true;

    const qint64 kept =
        resume && !m_stamp.isEmpty() ? GetDownloadedFileDetails(file_path, m_stamp) : 0;
    resume = kept > 0;
    // Unbuffered, so that a full disk shows at the write: nothing is left behind in a buffer.
    const auto mode = QIODevice::ReadWrite | QIODevice::Unbuffered;
    if (!resume)
        return m_file.open(mode | QIODevice::Truncate);
    m_percent = 100.0F * static_cast<float>(kept) / static_cast<float>(expected_size);
    return m_file.open(mode | QIODevice::Append);
}

void FileDownloader::Download(bool head_only)
{
    m_reply = head_only ? m_manager->head(m_request) : m_manager->get(m_request);
    if (!head_only)
        m_reply->setReadBufferSize(kReadAhead);
    connect(m_reply, &QIODevice::readyRead, this, &FileDownloader::onReadData);
    connect(m_reply, &QNetworkReply::downloadProgress, this, &FileDownloader::onDownloadProgress);
    connect(m_reply, &QNetworkReply::finished, this, &FileDownloader::onFinishedDownload);
}

void FileDownloader::Resume()
{
    if (m_reply)
        return;
    m_stalled = false;
    if (m_headOnly)
        m_data.clear(); // of a part, the server would state the length of that part alone
    m_resumeOffset = DataHeld();
    if (m_resumeOffset > 0)
        m_request.setRawHeader("Range", "bytes=" + QByteArray::number(m_resumeOffset) + "-");
    Download(false);
}

qint64 FileDownloader::DataHeld() const
{
    if (m_file.fileName().isEmpty())
        return m_data.size();
    return m_file.isOpen() ? qMax(m_file.size() - PartialFileTail::kSize, qint64(0)) : 0;
}

void FileDownloader::Pause()
{
    if (!m_reply)
        return;
    m_reply->disconnect(this); // the abort must not look like a finish
    DrainReply();
    ReadDataHelper(true, false);
    m_reply->abort();
    ReleaseReply();
}

void FileDownloader::Abort(bool remove_data)
{
    if (!m_reply)
        return;
    m_deleteOnClose = remove_data;
    m_reply->abort();
}

bool FileDownloader::IsBusy() const
{
    return m_reply || m_stalled;
}

void FileDownloader::ReadDataHelper(bool force_write, bool final_write)
{
    m_lastModified = m_reply->header(QNetworkRequest::LastModifiedHeader).toString();
    m_contentLength = m_reply->header(QNetworkRequest::ContentLengthHeader).toString();

    const bool readable = m_reply->isOpen(); // an aborted reply is closed
    if (readable && !BringsTheFile())
        m_reply->readAll(); // an error page: Qt fetches the rest of it only into an empty buffer
    if (m_file.fileName().isEmpty()) { // manifests alone are fetched into memory
        if (readable && m_data.size() + m_reply->bytesAvailable() > kMostManifestBytes) {
            m_probeAnswered = m_headOnly;
            if (!m_headOnly)
                m_error = "The answer is too long.";
            m_data.clear();
            m_reply->readAll();
            Abort(false);
            return;
        }
        if (readable)
            m_data += m_reply->readAll();
    } else {
        const bool read_failed = readable && !StageData();
        const bool write = force_write || read_failed || m_bufferFill == kBufferSize;
        if (write && !WriteStaged(final_write)) {
            if (readable)
                m_reply->readAll(); // the file has a gap here: what follows is of no use
            Abort(false);
            return;
        }
    }
    m_lastDataTime = Now();
}

bool FileDownloader::StageData()
{
    const qint64 got = m_reply->read(reinterpret_cast<char *>(m_buffer + m_bufferFill),
                                     kBufferSize - m_bufferFill);
    if (got > 0)
        m_bufferFill += got;
    return got >= 0;
}

/// Writes what is staged in the place of the tail, and a new tail behind it unless \a final_write
/// is set. The old tail has to go first: the new data belongs where it stands, and a resumed file
/// is only appended to. A kill in between leaves a file without a tail, which the next attempt
/// fetches anew. False, with the reason in m_error and the file as it was, where it has no tail or
/// takes no more.
bool FileDownloader::WriteStaged(bool final_write)
{
    const qint64 staged = std::exchange(m_bufferFill, 0);
    if (!m_file.isOpen())
        return true; // the data was discarded, and so is what still arrives
    const qint64 sum = ReadTailBytes(m_file, m_stamp, true);
    if (sum < 0) {
        m_error = "File data corrupted.";
        return false;
    }
    const qint64 held = m_file.size();
    if (Append(staged, sum, !final_write))
        return true;
    m_error = m_file.errorString();
    m_file.resize(held);
    AddTailBytes(m_file, m_stamp, sum, m_buffer, 0); // there is room for it again
    return false;
}

bool FileDownloader::Append(qint64 staged, qint64 sum, bool with_tail)
{
    m_file.seek(m_file.size());
    qint64 written = 0;
    while (written < staged) { // after a short write only the next one tells the reason
        const qint64 count =
            m_file.write(reinterpret_cast<const char *>(m_buffer + written), staged - written);
        if (count <= 0)
            return false;
        written += count;
    }
    const qint64 length = m_file.size();
    if (with_tail)
        AddTailBytes(m_file, m_stamp, sum, m_buffer, static_cast<int>(staged));
    return !with_tail || length == 0 || m_file.size() == length + PartialFileTail::kSize;
}

/// Reads all that the reply holds: Qt never signals again what stays in a reply with a size limit.
/// False where the reply, and perhaps this object with it, has gone meanwhile.
bool FileDownloader::DrainReply()
{
    const QPointer<FileDownloader> self(this);
    while (m_reply->isOpen() && m_reply->bytesAvailable() > 0) {
        ReadDataHelper(false, false);
        if (!self || !m_reply)
            return false;
    }
    return true;
}

void FileDownloader::GetDownloadedData(QByteArray &out)
{
    if (m_file.fileName().isEmpty()) {
        out = m_data;
    } else if (m_file.isOpen()) {
        out = m_file.readAll();
    } else if (m_file.open(QIODevice::ReadOnly)) {
        out = m_file.readAll();
        m_file.close();
    }
}

void FileDownloader::DelDownloadedData()
{
    m_deleteOnClose = true;
    if (m_reply)
        DiscardData();
}

void FileDownloader::DiscardData()
{
    m_file.close();
    if (!m_file.fileName().isEmpty())
        m_file.remove();
    m_data.clear();
    m_bufferFill = 0;
}

void FileDownloader::onReadData()
{
    if (BringsOtherRange())
        Abort(true); // nothing that follows is of use
    else
        DrainReply();
}

void FileDownloader::onDownloadProgress(qint64 bytesReceived, qint64 bytesTotal)
{
    const qint64 received = m_resumeOffset + bytesReceived;
    // The server may announce any length.
    const qint64 total =
        m_resumeOffset + qMin(bytesTotal, std::numeric_limits<qint64>::max() - m_resumeOffset);
    m_percent = static_cast<float>(received) * 100.0F / static_cast<float>(total);
    emit SignalDownloadProgress(this, received, total);
}

void FileDownloader::onFinishedDownload()
{
    DrainReply();
    if (HoldsWholeFile() || m_probeAnswered
        || (m_reply->error() == QNetworkReply::NoError && BroughtTheFile()))
        FinishWell();
    else
        FinishWithError();
    onCloseConnection();
    emit SignalDownloadFinished(this);
}

void FileDownloader::FinishWell()
{
    ReadDataHelper(true, m_error.isEmpty()); // what failed on the way stays resumable
    m_percent = 100.0F;
}

void FileDownloader::FinishWithError()
{
    ReadDataHelper(true, false);
    if (m_error.isEmpty())
        m_error = ReplyError();
    if (m_error.isEmpty())
        m_error = "Unknown error.";
    if (HttpStatus() == kRangeNotSatisfiable || BringsOtherRange())
        m_deleteOnClose = true; // the held data fits no file of the server's: begin anew
    m_reply->abort();
    m_percent = -1.0F;
}

int FileDownloader::HttpStatus() const
{
    return m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

/// True where the body is the file, or the part of it that was asked for.
bool FileDownloader::BringsTheFile() const
{
    return HttpStatus() < kMultipleChoices && !BringsOtherRange();
}

/// True where a finished reply has brought all that it announced. Qt reports no error where the
/// connection closes right behind the head, so the length of the body is compared.
bool FileDownloader::BroughtTheFile() const
{
    if (!BringsTheFile())
        return false;
    const QVariant announced = m_reply->header(QNetworkRequest::ContentLengthHeader);
    const bool must_fit = announced.isValid() && m_error.isEmpty() && !m_deleteOnClose
                          && m_reply->operation() == QNetworkAccessManager::GetOperation;
    return !must_fit || DataHeld() + m_bufferFill - m_resumeOffset >= announced.toLongLong();
}

bool FileDownloader::BringsOtherRange() const
{
    const QByteArray range = m_reply->rawHeader("Content-Range").toLower();
    return HttpStatus() == kPartialContent && !range.isEmpty()
           && !range.startsWith("bytes " + QByteArray::number(m_resumeOffset) + "-");
}

QString FileDownloader::ReplyError() const
{
    if (BringsOtherRange())
        return "Server sent another part of the file";
    if (m_reply->error() != QNetworkReply::NoError)
        return m_reply->errorString();
    // Qt takes neither a short body nor a redirect for an error; these texts look like Qt's own.
    if (BringsTheFile())
        return "Connection closed";
    return QString("Error transferring %1 - server replied: %2")
        .arg(m_url, m_reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString());
}

/// True if the server has nothing behind the offset because the file ends there: an earlier run
/// got everything and died before it could finish.
bool FileDownloader::HoldsWholeFile() const
{
    return HttpStatus() == kRangeNotSatisfiable && !m_deleteOnClose && m_resumeOffset > 0
           && m_reply->rawHeader("Content-Range")
                  == "bytes */" + QByteArray::number(m_resumeOffset);
}

void FileDownloader::onCloseConnection()
{
    m_file.close();
    if (m_deleteOnClose)
        DiscardData();
    m_deleteOnClose = false;
    m_timer.stop();
    m_bufferFill = 0;
    ReleaseReply();
}

/// Deferred, as one of the reply's own signals or its abort() may be on the stack.
void FileDownloader::ReleaseReply()
{
    if (!m_reply)
        return;
    m_reply->disconnect(this);
    m_reply->deleteLater();
    m_reply = nullptr;
}

void FileDownloader::onTimer1000()
{
    const qint64 now = Now();
    if (m_percent != static_cast<float>(m_lastPercent)) {
        m_lastPercent = WholePercent(m_percent);
        m_lastPercentTime = now;
    } else if (now - m_lastPercentTime > 2 * static_cast<qint64>(m_timeout)) {
        m_error = "Remote response timeout.";
        if (m_reply) {
            Abort(false); // the receiver of the finish may have deleted this object
            return;
        }
    }

    if (m_reply) {
        if (now - m_lastDataTime > m_timeout) {
            m_stalled = true;
            Pause();
            m_lastDataTime = Now();
        }
    } else if (m_stalled) {
        Resume();
        m_lastDataTime = Now();
    }
}

void FileDownloader::SetSSLDefaultConfiguration(QSsl::SslProtocol protocol,
                                                QSslSocket::PeerVerifyMode verify_mode)
{
    QSslConfiguration configuration;
    configuration.setProtocol(protocol);
    configuration.setPeerVerifyMode(verify_mode);
    // By itself a new configuration looks for authorities in hashed folders, which not every system
    // has.
    if (verify_mode == QSslSocket::VerifyPeer)
        configuration.setCaCertificates(QSslConfiguration::systemCaCertificates());
    configuration.setCiphers(QSslConfiguration::supportedCiphers());
    QSslConfiguration::setDefaultConfiguration(configuration);
}

void FileDownloader::SetApplicationProxy(int proxy_type, const QString &host, const QString &port,
                                         const QString &user, const QString &password)
{
    switch (proxy_type) {
    case 0:
        QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
        break;
    case 1:
        QNetworkProxyFactory::setUseSystemConfiguration(true);
        break;
    default:
        QNetworkProxy::setApplicationProxy(QNetworkProxy(
            QNetworkProxy::HttpProxy, host, static_cast<quint16>(port.toUInt()), user, password));
        break;
    }
}
