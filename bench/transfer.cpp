#include "app/datasingleton.h"
#include "bench.h"
#include "clock.h"
#include "transfer/filedownloader.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRandomGenerator>
#include <QThread>

#include <cstdio>

namespace {

const int kBlock = 50; // ms that a busy loop is held

qint64 PeakMemory()
{
    QFile status("/proc/self/status");
    status.open(QFile::ReadOnly);
    const QByteArray text = status.readAll();
    return text.mid(text.indexOf("VmHWM:") + 6).simplified().split(' ').first().toLongLong();
}

double ProcessorMs()
{
    return Milliseconds(CLOCK_THREAD_CPUTIME_ID);
}

/// Ticks each millisecond and remembers the longest wait for a tick.
class LoopWatch
{
public:
    LoopWatch()
    {
        m_clock.start();
        QObject::connect(&m_timer, &QTimer::timeout, [this] { Tick(); });
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.start(1);
    }
    double m_held = 0;
    double m_heldProcessor = 0;

private:
    void Tick()
    {
        m_held = qMax(m_held, static_cast<double>(m_clock.nsecsElapsed()) / 1e6);
        m_heldProcessor = qMax(m_heldProcessor, ProcessorMs() - m_processor);
        m_clock.start();
        m_processor = ProcessorMs();
    }
    QTimer m_timer;
    QElapsedTimer m_clock;
    double m_processor = ProcessorMs();
};

void Finish(const QString &error)
{
    if (!error.isEmpty())
        std::fprintf(stderr, "%s\n", qPrintable(error));
    QCoreApplication::exit(error.isEmpty() ? 0 : 1);
}

void Get(QNetworkAccessManager &manager, const QString &url, const QString &path, qint64 size)
{
    auto *transfer = new FileDownloader(&manager);
    QObject::connect(transfer, &FileDownloader::SignalDownloadFinished,
                     [](const FileDownloader *fd) { Finish(fd->m_error); });
    transfer->Start(&manager, url, false, size, path, "2024-05-01T12:30:45.000Z", true, 15000,
                    nullptr);
}

void GetFloor(QNetworkAccessManager &manager, const QString &url, const QString &path)
{
    QNetworkReply *reply = manager.get(QNetworkRequest(QUrl(url)));
    reply->setReadBufferSize(65536); // what costs least, as for the engine
    auto *file = new QFile(path, reply);
    file->open(QFile::WriteOnly | QFile::Unbuffered);
    QObject::connect(reply, &QNetworkReply::readyRead, [=] { file->write(reply->readAll()); });
    QObject::connect(reply, &QNetworkReply::finished, [=] {
        file->write(reply->readAll());
        Finish(reply->error() ? reply->errorString() : QString());
    });
}

/// One after the other, each sent from the slot of the one before, as a catalogue is probed.
void Probe(QNetworkAccessManager &manager, const QString &url, qint64 count)
{
    if (count == 0) {
        Finish(QString());
        return;
    }
    auto *transfer = new FileDownloader(&manager);
    QObject::connect(transfer, &FileDownloader::SignalDownloadFinished, &manager,
                     [&manager, url, count](FileDownloader *fd) {
                         delete fd;
                         Probe(manager, url, count - 1);
                     });
    transfer->Start(&manager, url, true, 0, QString(), QString(), false, 10000, nullptr);
}

void ProbeFloor(QNetworkAccessManager &manager, const QString &url, qint64 count)
{
    if (count == 0) {
        Finish(QString());
        return;
    }
    QNetworkReply *reply = manager.head(QNetworkRequest(QUrl(url)));
    QObject::connect(reply, &QNetworkReply::finished, &manager, [&manager, reply, url, count] {
        reply->deleteLater();
        ProbeFloor(manager, url, count - 1);
    });
}

} // namespace

int Transfer(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QString what = arguments.value(1);
    const QString url = arguments.value(2);
    const QString path = arguments.value(3);
    const qint64 number = arguments.value(4).toLongLong();

    DataSingleton::Initialize(nullptr, QFileInfo(path).path());
    FileDownloader::SetSSLDefaultConfiguration(QSsl::AnyProtocol, QSslSocket::VerifyNone);
    QNetworkAccessManager manager;
    const qint64 idle = PeakMemory();
    LoopWatch watch;
    QTimer busy;
    QObject::connect(&busy, &QTimer::timeout, [&busy] {
        QThread::msleep(kBlock);
        busy.start(QRandomGenerator::global()->bounded(kBlock));
    });
    if (what == "get-busy")
        busy.start(0);
    if (what == "get-floor")
        GetFloor(manager, url, path);
    else if (what == "probe")
        Probe(manager, url, number);
    else if (what == "probe-floor")
        ProbeFloor(manager, url, number);
    else
        Get(manager, url, path, number);
    const int result = QCoreApplication::exec();
    std::printf("%lld %lld %.1f %.1f\n", idle, PeakMemory(), watch.m_held, watch.m_heldProcessor);
    return result;
}
