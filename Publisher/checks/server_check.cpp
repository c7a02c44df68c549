#include "checks/server_check.h"

#include "Repository/manifests.h"
#include "Repository/names.h"
#include "base/failure.h"
#include "checks/answer_check.h"
#include "checks/site_check.h"
#include "files.h"
#include "jobs.h"

#include <QDataStream>
#include <QDateTime>
#include <QFileInfo>
#include <QVector>

#include <algorithm>

namespace {

const int kAtATime = 12;          // requests; Qt opens six connections to a host
const int kOnOneConnection = 500; // requests
const qint64 kMostInDescriptions = qint64{1} << 30;
const qint64 kMostInRange = 1000000; // bytes that are asked for

/// Asks a server what the updater asks it.
class Questions
{
public:
    Questions(const QString &base, const QString &dir,
              const std::function<void(int, int)> &progress)
        : m_base(base)
        , m_dir(dir)
        , m_progress(progress)
    {
    }

    /// Fetches the lists and the descriptions into the folder. False if something is wrong with the
    /// answers; the updater would not go on, either.
    bool FetchLists();
    /// Asks for the size and the date of each file.
    void AskForDates();
    /// Tries a range and a long connection with one of the files for which all was well.
    void TrySample();
    /// Fetches all those files into the folder.
    void FetchArchives();

    Findings TakeFindings();

private:
    struct GoodFile
    {
        FileLine line;
        QDateTime date;
    };

    void TryRange(const FileLine &file);
    void TryConnection(const FileLine &file);
    using Judge = std::function<void(int number, const HttpAnswer &answer, Findings &findings)>;
    void AskEach(const QList<HttpRequest> &requests, const Judge &judge);
    QString UrlOf(const FileLine &file) const
    {
        return m_base + ComponentFilePath(file.remote_dir, file.file_name);
    }
    HttpRequest HeadOf(const FileLine &file) const { return {UrlOf(file), true, 0, {}, 0}; }

    QString m_base;
    QString m_dir;
    std::function<void(int, int)> m_progress;
    HttpClient m_client;
    QList<GoodFile> m_good;
    Findings m_findings;
};

bool Questions::FetchLists()
{
    for (const QString &path : {FileListPath(), DescriptionsPath(), PackageListPath()}) {
        const HttpAnswer answer =
            m_client.Ask({m_base + path, false, 0, InRelease(m_dir, path),
                          path == DescriptionsPath() ? kMostInDescriptions : kMostManifestBytes});
        if (!CheckAnswer(NameInRelease(path), answer, m_findings))
            return false;
    }
    return true;
}

void Questions::AskForDates()
{
    Findings ignored; // whoever checks the lists finds them again
    QList<FileLine> files;
    QList<HttpRequest> requests;
    for (const FileLine &file : ReadLists(m_dir, ignored).files) {
        if (!PathFault(NameOf(file)).isEmpty())
            continue; // no URL leads to it
        files << file;
        requests << HeadOf(file);
    }
    QVector<QDateTime> dates(files.size());
    AskEach(requests, [&](int i, const HttpAnswer &answer, Findings &findings) {
        if (!CheckAnswer(NameOf(files[i]), answer, findings))
            return;
        const QDateTime date = CheckLastModified(NameOf(files[i]), answer, findings);
        if (date.isValid())
            CompareWithLine(files[i], answer.headers.value("content-length").toLongLong(), date,
                            findings);
        if (findings.isEmpty())
            dates[i] = date;
    });
    for (int i = 0; i < files.size(); ++i)
        if (dates[i].isValid())
            m_good << GoodFile{files[i], dates[i]};
}

void Questions::TrySample()
{
    const auto smallest =
        std::min_element(m_good.begin(), m_good.end(), [](const GoodFile &a, const GoodFile &b) {
            return a.line.file_size < b.line.file_size;
        });
    if (smallest == m_good.end())
        return;
    TryRange(smallest->line);
    TryConnection(smallest->line);
}

void Questions::TryRange(const FileLine &file)
{
    const QString whole = m_dir + ".whole";
    const QString part = m_dir + ".part";
    const QString name = NameOf(file);
    if (!CheckAnswer(name, m_client.Ask({UrlOf(file), false, 0, whole, file.file_size}),
                     m_findings))
        return;
    const qint64 size = QFileInfo(whole).size();
    if (size < 2) // no archive has so few bytes
        return;
    const qint64 offset = size - std::min(size / 2, kMostInRange);
    CheckRange(name, m_client.Ask({UrlOf(file), false, offset, part, size}), offset, part, whole,
               m_findings);
    CheckEndOfRange(name, m_client.Ask({UrlOf(file), false, size, {}, size}), size, m_findings);
}

/// Counts how many requests a connection lasts for: the updater has one for all files.
void Questions::TryConnection(const FileLine &file)
{
    HttpClient client; // with a connection of its own
    for (int done = 0; done < kOnOneConnection; ++done) {
        const HttpAnswer answer = client.Ask(HeadOf(file));
        if (!CheckAnswer(NameOf(file), answer, m_findings))
            return;
        if (done > 0 && answer.is_on_new_connection) {
            return m_findings.Add(
                Rule::ShortConnections, m_base,
                QString("it closes a connection after %1 requests; a user makes one for each file")
                    .arg(done));
        }
    }
}

void Questions::FetchArchives()
{
    QList<HttpRequest> requests;
    for (const GoodFile &file : qAsConst(m_good))
        requests << HttpRequest{UrlOf(file.line), false, 0, m_dir + '/' + NameOf(file.line),
                                file.line.file_size};
    AskEach(requests, [&](int i, const HttpAnswer &answer, Findings &findings) {
        CheckAnswer(NameOf(m_good[i].line), answer, findings);
    });
    for (int i = 0; i < requests.size(); ++i)
        if (QFileInfo::exists(requests[i].file_path))
            SetDate(requests[i].file_path, m_good[i].date);
}

Findings Questions::TakeFindings()
{
    if (!m_base.startsWith("https:"))
        m_findings.Add(Rule::BadCertificate, m_base, "there is none, for this is not https");
    for (const QString &fault : m_client.CertificateFaults())
        m_findings.Add(Rule::BadCertificate, m_base, fault);
    return m_findings;
}

/// Sends the requests side by side. The findings are in the order of the requests.
void Questions::AskEach(const QList<HttpRequest> &requests, const Judge &judge)
{
    QVector<Findings> found(requests.size());
    int done = 0;
    const bool all = m_client.Ask(requests, kAtATime, [&](int i, const HttpAnswer &answer) {
        m_progress(++done, requests.size());
        judge(i, answer, found[i]);
    });
    for (const Findings &findings : qAsConst(found))
        m_findings.append(findings);
    if (!all) {
        m_findings.Add(Rule::NoAnswer, m_base,
                       QString("it stalls again and again: only %1 of %2 files were asked for")
                           .arg(done)
                           .arg(requests.size()));
    }
}

/// What the process that asks tells its parent.
struct ServerResult
{
    bool has_lists = false;
    Findings findings;
    QString failure; // of this machine, not of the server
};

ServerResult AskServer(const QString &base, bool with_archives, const QString &dir,
                       const std::function<void(int, int)> &progress)
{
    ServerResult outcome;
    try {
        Questions questions(base, dir, progress);
        outcome.has_lists = questions.FetchLists();
        if (outcome.has_lists) {
            questions.AskForDates();
            questions.TrySample();
            if (with_archives)
                questions.FetchArchives();
        }
        outcome.findings = questions.TakeFindings();
    } catch (const Failure &failure) {
        outcome.failure = QString::fromLocal8Bit(failure.what());
    }
    return outcome;
}

} // namespace

void CheckServer(const QString &url, bool with_archives, const QString &place, Findings &findings,
                 const std::function<void(int, int)> &progress)
{
    const QString base = url.endsWith('/') ? url.chopped(1) : url;
    const QString dir = place + "/release";
    ServerResult outcome;
    // Qt asks in threads of its own, and what unpacks archives is not to be forked beside them.
    RunJobs(
        1,
        [&](int) {
            const ServerResult asked = AskServer(base, with_archives, dir, progress);
            QByteArray bytes;
            QDataStream(&bytes, QIODevice::WriteOnly)
                << asked.has_lists << asked.findings << asked.failure;
            return bytes;
        },
        [&](int, const QByteArray &result) {
            if (result.isNull())
                outcome.failure = "the process that asked the server was killed";
            else
                QDataStream(result) >> outcome.has_lists >> outcome.findings >> outcome.failure;
        });
    if (!outcome.failure.isEmpty())
        Fail(outcome.failure);
    findings.append(outcome.findings);
    if (!outcome.has_lists)
        return;

    Lists lists = ReadLists(dir, findings);
    CheckLists(lists, findings);
    CheckTimeStamps(lists, findings);
    CheckDescriptionsArchive(lists, dir, place, findings);
    if (!with_archives)
        return;
    const auto is_missing = [&dir](const FileLine &file) {
        return !QFileInfo(dir + '/' + NameOf(file)).isFile();
    };
    lists.files.erase(std::remove_if(lists.files.begin(), lists.files.end(), is_missing),
                      lists.files.end());
    CheckArchives(lists, dir, place + "/trials", findings, progress);
}
