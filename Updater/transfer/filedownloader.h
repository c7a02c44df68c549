#pragma once

#include <QFile>
#include <QNetworkRequest>
#include <QObject>
#include <QPointer>
#include <QSsl>
#include <QSslSocket>
#include <QTimer>

class QNetworkAccessManager;
class QNetworkReply;

/// One HTTP(S) transfer of one URL, into memory or into a partial file.
///
/// Make a new object for each transfer and call Start() once. SignalDownloadFinished() comes at
/// most once, never after a Start() that returned false; an empty m_error then means success. The
/// receiver may delete the object, so the emit is the last thing that it does. A transfer that goes
/// quiet is asked for again from the byte where it stood.
///
/// Neither size nor sum of the finished file is verified: that is the caller's work.
class FileDownloader : public QObject
{
    Q_OBJECT

public:
    explicit FileDownloader(QObject *parent);
    /// Drops a running transfer without a signal; the file keeps its last tail.
    ~FileDownloader() override;

    /// Sends the request.
    ///
    /// A null \a manager makes one of the object's own. An empty \a file_path keeps the data in
    /// memory. With \a resume and a \a stamp, a partial file that proves its data for this stamp is
    /// gone on with; otherwise the file begins anew. \a timeout_ms is the quiet time after which
    /// the request is sent again; \a user_data comes back untouched. False, with the reason in
    /// m_error, where nothing was sent; m_error is unchanged if a request is in flight.
    bool Start(QNetworkAccessManager *manager, const QString &url, bool head_only,
               qint64 expected_size, const QString &file_path, const QString &stamp, bool resume,
               int timeout_ms, void *user_data);
    void Download(bool head_only);
    /// Sends the request again from the byte where the target stands, as a GET.
    void Resume();
    /// Secures what has arrived and drops the reply, without a finish.
    void Pause();
    /// Cancels the reply, and the finish runs: the object may be gone when this returns.
    void Abort(bool remove_data);
    bool IsBusy() const;
    /// Moves what one read gives from the reply to the target. With \a force_write a file gets all
    /// that is staged, and a tail behind it unless \a final_write is set. The object may be gone
    /// afterwards.
    void ReadDataHelper(bool force_write, bool final_write);
    void GetDownloadedData(QByteArray &out);
    /// Discards the received data, and all that still arrives.
    void DelDownloadedData();

    // The partial file (transfer/partial_file.cpp)

    /// The number of data bytes of a partial file that its tail proves for \a stamp; 0 for none.
    static qint64 GetDownloadedFileDetails(const QString &path, const QString &stamp);
    /// The sum that the tail of an open file states, 0 for a file too short for a tail, negative
    /// for a tail that doesn't belong to the file or to \a stamp. An empty \a stamp fits any.
    static qint64 ReadTailBytes(QFile &file, const QString &stamp, bool truncate_tail);
    /// Writes a tail behind the data of an open file; an empty file gets none. \a running_sum
    /// covers the data less its last \a data_length bytes, which stand in \a data. \a stamp becomes
    /// the text that was stored.
    static void AddTailBytes(QFile &file, QString &stamp, qint64 running_sum, unsigned char *data,
                             int data_length);

    // What every later request of the process takes over; neither can fail

    /// \a proxy_type: 0 none, 1 the system's, any other an HTTP proxy at \a host.
    static void SetApplicationProxy(int proxy_type, const QString &host, const QString &port,
                                    const QString &user, const QString &password);
    static void SetSSLDefaultConfiguration(QSsl::SslProtocol protocol,
                                           QSslSocket::PeerVerifyMode verify_mode);

signals:
    void SignalDownloadProgress(FileDownloader *fd, qint64 bytesReceived, qint64 bytesTotal);
    void SignalDownloadFinished(FileDownloader *fd);

public slots:
    void onTimer1000();
    void onReadData();
    void onDownloadProgress(qint64 bytesReceived, qint64 bytesTotal);
    void onFinishedDownload();
    void onCloseConnection();

private:
    bool OpenTarget(const QString &file_path, qint64 expected_size, bool &resume);
    qint64 DataHeld() const;
    int HttpStatus() const;
    QString ReplyError() const;
    bool BringsTheFile() const;
    bool BroughtTheFile() const;
    bool BringsOtherRange() const;
    bool HoldsWholeFile() const;
    bool StageData();
    bool WriteStaged(bool final_write);
    bool Append(qint64 staged, qint64 sum, bool with_tail);
    bool DrainReply();
    void FinishWell();
    void FinishWithError();
    void DiscardData();
    void ReleaseReply();

public:
    QString m_url; // as given to Start()

private:
    QNetworkAccessManager *m_manager = nullptr; // owned if m_ownsManager
    QNetworkRequest m_request;
    QPointer<QNetworkReply> m_reply; // owned, unless the manager dies first; null: none in flight
    QFile m_file;                    // without a name: memory mode
    QByteArray m_data;               // memory mode: all that was received

public:
    QString m_error;         // empty: success
    QString m_lastModified;  // ISO 8601 with milliseconds; empty if the server didn't say
    QString m_contentLength; // decimal; of the last reply, so of a range its rest

private:
    unsigned char *m_buffer;      // owned; stages what goes to the file
    qint64 m_bufferFill = 0;      // bytes in m_buffer
    qint64 m_resumeOffset = 0;    // bytes that the target held at the last request
    qint64 m_lastDataTime = 0;    // ms, on the clock of GetElapsedTime()
    qint64 m_lastPercentTime = 0; // ms, same clock
    qint64 m_lastPercent = 0;     // whole percent of the last tick
    QTimer m_timer;               // the tick of the two watches
    bool m_deleteOnClose = false; // discard the data at the close
    bool m_ownsManager = true;
    bool m_stalled = false;       // the next tick asks again
    bool m_headOnly = false;      // began as a HEAD, though a stalled one is asked again as a GET
    bool m_probeAnswered = false; // that GET has brought a whole file, which is dropped
    int m_timeout = -1;           // ms

public:
    float m_percent = -1.0F;    // may be NaN or out of range while a size is unknown; -1: failed
    void *m_userData = nullptr; // the caller's own; never looked at here

private:
    QString m_stamp; // as the tail holds it, from the first tail on
};
