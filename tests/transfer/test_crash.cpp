// usage: test_crash [KILLS]
//
// A real process downloads from a throttled server and is killed at a random moment, again and
// again, by default for less than a minute. Each restart has to go on from what the partial file
// proves, and each finished file has to be the remote one.

#include "app/datasingleton.h"
#include "support/filebytes.h"
#include "support/installation.h"
#include "support/nginxserver.h"
#include "transfer/filedownloader.h"
#include "transfer/partialfile.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

namespace {

const int kKills = 30;
const int kSize = 12000000;           // of the remote file
const int kBytesPerSecond = 30000000; // so that a run of average length gets a part of it
const int kLongestRun = 200;          // ms from the first data to the kill
const int kPatience = 60000;          // ms
const QString kFetch = "--fetch";

int Random(int below)
{
    return QRandomGenerator::global()->bounded(below);
}

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

bool Ends(QProcess &process, int ms)
{
    return process.state() == QProcess::NotRunning || process.waitForFinished(ms);
}

/// All runs of one test.
class Crashes
{
public:
    Crashes();
    void Run(int kills);
    void CompareWithLog() const;

private:
    bool Live(const QString &url, int from, bool is_killed);
    void WaitForData(QProcess &process, int from) const;
    void Damage();

    const QByteArray m_content = RandomBytes(kSize);
    QTemporaryDir m_dir;
    QTemporaryDir m_site;
    NginxServer m_server{m_site.path(), kBytesPerSecond};
    const QString m_path = m_dir.filePath("a.zip.dnl");
    QList<int> m_offsets; // what each attempt may go on from
    qint64 m_gained = 0;  // bytes of all attempts
    int m_kills = 0;
    int m_damaged = 0;
    int m_finished = 0;
};

Crashes::Crashes()
{
    Check(WriteFile(m_site.filePath("a.zip"), m_content), "no file to serve");
    const bool started = m_server.Start();
    Check(started, m_server.Errors());
}

void Crashes::Run(int kills)
{
    m_kills = kills;
    while (kills >= 0) { // the last life is the one that may go on to its end
        const int from = ProvedLength(ReadFile(m_path));
        const QString url = QString("%1/a.zip?%2").arg(m_server.Url()).arg(m_offsets.size());
        m_offsets << from;
        const bool killed = !Live(url, from, kills > 0);
        if (killed || kills == 0)
            --kills;
        const QByteArray bytes = ReadFile(m_path);
        if (bytes == m_content) { // perhaps killed on its way out
            m_gained += kSize - from;
            ++m_finished;
            QFile::remove(m_path);
            continue;
        }
        Check(killed, "a finished file is another one");
        const int to = ProvedLength(bytes);
        m_gained += to - from;
        Check(m_content.startsWith(bytes.left(to)), "a proved file holds other data");
        if (to > 0 && Random(4) == 0)
            Damage();
    }
}

/// One life of the process, with \a from bytes in its partial file; true if it reached its end.
bool Crashes::Live(const QString &url, int from, bool is_killed)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QCoreApplication::applicationFilePath(), {kFetch, url, m_path});
    if (Random(5) > 0) // the others may die before their request
        WaitForData(process, from);
    if (is_killed && !Ends(process, 1 + Random(kLongestRun))) {
        process.kill();
        process.waitForFinished(kPatience);
        return false;
    }
    Check(Ends(process, kPatience), "a transfer has no end");
    Check(process.exitCode() == 0, "a transfer has failed");
    return true;
}

/// Waits until the partial file holds more than the \a from bytes of earlier lives.
void Crashes::WaitForData(QProcess &process, int from) const
{
    for (int wait = 0; wait < kPatience && !Ends(process, 1); ++wait) {
        if (QFileInfo(m_path).size() > from + PartialFileTail::kSize)
            return;
    }
}

/// Flips a bit, cuts or lengthens the partial file, somewhere.
void Crashes::Damage()
{
    QByteArray bytes = ReadFile(m_path);
    const int place = Random(bytes.size());
    switch (Random(3)) {
    case 0:
        bytes[place] = static_cast<char>(bytes[place] ^ (1 << Random(8)));
        break;
    case 1:
        bytes.truncate(place);
        break;
    default:
        bytes.insert(place, static_cast<char>(Random(256)));
        break;
    }
    Check(WriteFile(m_path, bytes), "no file to damage");
    ++m_damaged;
}

/// Looks in the server's log at what each attempt asked for and what it was sent.
void Crashes::CompareWithLog() const
{
    const QRegularExpression form("GET /a.zip\\?(\\d+) \\d+ range=\"(\\S+)\" sent=(\\d+)");
    int resumes = 0;
    qint64 sent = 0;
    for (const QString &line : m_server.AccessLog()) {
        const QRegularExpressionMatch match = form.match(line);
        const int from = m_offsets.value(match.captured(1).toInt());
        const QString range = from > 0 ? QString("bytes=%1-").arg(from) : QString("-");
        Check(match.captured(2) == range, line + " instead of " + range);
        resumes += from > 0 ? 1 : 0;
        sent += match.captured(3).toLongLong();
    }
    Check(resumes > 0 && m_finished > 0, "nothing was resumed and finished");
    std::printf("%d kills, %d resumes, %d damaged files refused, %d files finished; "
                "%.1f of %.1f MB fetched twice\n",
                m_kills, resumes, m_damaged, m_finished, static_cast<double>(sent - m_gained) / 1e6,
                static_cast<double>(sent) / 1e6);
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == kFetch)
        return Fetch(arguments.value(2), arguments.value(3));

    Crashes crashes;
    crashes.Run(arguments.size() > 1 ? arguments[1].toInt() : kKills);
    crashes.CompareWithLog();
    return 0;
}
