// A process downloads and is killed at a random moment, again and again, until the file is whole.
// Whatever a kill leaves, the next run goes on with it or begins anew, and the end is right.

#include "app/datasingleton.h"
#include "support/nginx_server.h"
#include "support/sample_files.h"
#include "transfer/filedownloader.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <cstdio>

namespace {

const int kSize = 30000000;           // of the remote file
const int kBytesPerSecond = 10000000; // of the server, for a dozen runs or more

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
    const bool runs =
        transfer.Start(&manager, url, false, kSize, path, kStamp, true, 15000, nullptr);
    return runs ? QCoreApplication::exec() : 1;
}

/// Tells what is wrong; null if nothing is.
const char *Crash()
{
    const QTemporaryDir dir;
    const NginxServer server(dir.path(), kBytesPerSecond);
    const QByteArray content = RandomBytes(kSize);
    WriteFile(dir.filePath("a.zip"), content);
    const QString path = dir.filePath("a.zip.dnl");
    int longest = 300; // ms; it grows, so that a run gets somewhere on a busy machine, too
    for (bool ended = false; !ended; longest += longest / 15) {
        if (longest > 12000) // 58 runs, which have had 90 s for a file that takes 3
            return "no run gets to the end";
        QProcess process;
        process.start(QCoreApplication::applicationFilePath(), {server.Url() + "/a.zip", path});
        ended = process.waitForFinished(1 + QRandomGenerator::global()->bounded(longest));
        process.kill();
        process.waitForFinished(-1);
        if (ended && process.exitCode() != 0)
            return "a transfer has failed";
        const qint64 held = FileDownloader::GetDownloadedFileDetails(path, kStamp);
        if (ReadFile(path).left(static_cast<int>(held)) != content.left(static_cast<int>(held)))
            return "a partial file proves other data";
    }
    if (ReadFile(path) != content)
        return "the finished file is another one";
    return server.AccessLog().filter("bytes=").isEmpty() ? "nothing was resumed" : nullptr;
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    if (argc == 3)
        return Fetch(argv[1], argv[2]);
    const char *fault = Crash();
    std::puts(fault ? fault : "no fault");
    return fault ? 1 : 0;
}
