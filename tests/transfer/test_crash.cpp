// usage: test_crash [KILLS]
//
// A real process downloads from a throttled server and is killed at a random moment, again and
// again. Each restart has to go on from what the partial file proves, and each finished file has to
// be the remote one.

#include "app/datasingleton.h"
#include "support/installation.h"
#include "support/nginx_server.h"
#include "transfer/filedownloader.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QProcess>
#include <QRandomGenerator>
#include <QThread>

#include <cstdio>
#include <cstdlib>

namespace {

const int kKills = 30;
const int kSize = 12000000;           // of the remote file
const int kBytesPerSecond = 30000000; // so that a run of average length gets a part of it
const int kLongestRun = 200;          // ms from the first data to the kill
const QString kFetch = "--fetch";
const QString kWhole = "range=\"-\"";

void Check(bool good, const QString &what)
{
    if (good)
        return;
    std::fprintf(stderr, "FAIL: %s\n", qPrintable(what));
    std::exit(1);
}

/// How much data a partial file proves, judged without the code under test.
int ProvedLength(const QByteArray &bytes)
{
    const QByteArray data = bytes.chopped(qMin(bytes.size(), 40));
    return !data.isEmpty() && bytes == PartialFile(data, kStamp) ? data.size() : 0;
}

/// The process that is killed.
int Fetch(const QString &url, const QString &path)
{
    DataSingleton::Initialize(nullptr, QFileInfo(path).path());
    FileDownloader::SetSSLDefaultConfiguration(QSsl::AnyProtocol, QSslSocket::VerifyNone);
    QNetworkAccessManager manager;
    FileDownloader transfer(nullptr);
    QObject::connect(
        &transfer, &FileDownloader::SignalDownloadFinished,
        [](const FileDownloader *fd) { QCoreApplication::exit(fd->m_error.isEmpty() ? 0 : 1); });
    if (!transfer.Start(&manager, url, false, kSize, path, kStamp, true, 15000, nullptr))
        return 1;
    return QCoreApplication::exec();
}

/// One life of the process: it is killed soon after it has added to the \a held bytes of its
/// partial file, or lives to its end. True if it reached that.
bool Live(const QString &url, const QString &path, int held, bool is_killed)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QCoreApplication::applicationFilePath(), {kFetch, url, path});
    process.waitForStarted();
    while (process.state() != QProcess::NotRunning && QFileInfo(path).size() <= held + 40)
        process.waitForFinished(1);
    if (is_killed) {
        QThread::msleep(1 + QRandomGenerator::global()->bounded(kLongestRun));
        process.kill();
    }
    process.waitForFinished(-1);
    const bool ended = process.exitStatus() == QProcess::NormalExit;
    Check(!ended || process.exitCode() == 0, "a transfer has failed");
    return ended;
}

void Crash(int kills)
{
    const QByteArray content = RandomBytes(kSize);
    const QTemporaryDir dir;
    NginxServer server(dir.path(), kBytesPerSecond);
    WriteFile(dir.filePath("a.zip"), content);
    const QString path = dir.filePath("a.zip.dnl");
    QStringList ranges; // that the attempts have to ask for
    int resumes = 0;
    int finished = 0;
    while (kills > 0 || finished == 0) {
        const int held = ProvedLength(ReadFile(path));
        const QString url = QString("%1/a.zip?%2").arg(server.Url()).arg(ranges.size());
        ranges << (held > 0 ? QString("range=\"bytes=%1-\"").arg(held) : kWhole);
        const bool ended = Live(url, path, held, kills > 0);
        kills -= ended ? 0 : 1;
        const QByteArray bytes = ReadFile(path);
        Check(content.startsWith(bytes.left(ProvedLength(bytes))), "a proof of other data");
        if (ended || bytes == content) { // the latter was killed on its way out
            Check(bytes == content, "a finished file is another one");
            ++finished;
            QFile::remove(path);
        }
    }
    for (const QString &line : server.AccessLog()) {
        const QString range = ranges.value(line.section('?', 1).section(' ', 0, 0).toInt());
        Check(line.contains(range), line + " instead of " + range);
        resumes += range == kWhole ? 0 : 1;
    }
    Check(resumes > 0, "nothing was resumed");
    std::printf("%d resumes, %d files finished\n", resumes, finished);
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == kFetch)
        return Fetch(arguments.value(2), arguments.value(3));
    Crash(arguments.size() > 1 ? arguments[1].toInt() : kKills);
    return 0;
}
