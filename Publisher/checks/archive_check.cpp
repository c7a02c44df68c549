#include "checks/archive_check.h"

#include "Repository/checksum.h"
#include "Repository/fixed_names.h"
#include "Repository/version_info.h"
#include "base/failure.h"
#include "files.h"
#include "jobs.h"
#include "unpack.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QDate>
#include <QFile>
#include <QFileInfo>
#include <QVector>

#include <filesystem>
#include <optional>

namespace {

const qint64 kBlockSize = 1 << 20; // bytes
// What file systems, HTTP and archives can all state.
const QDate kFirstDay(1980, 1, 1);
const QDate kLastDay(2099, 12, 31);

const int kLongestQuote = 40; // characters of a damaged text

/// What a trial's process tells its parent.
struct TrialResult
{
    ArchiveFacts facts;
    Findings findings;
    QString failure; // of this machine, not of the archive
};

QByteArray Packed(const TrialResult &result)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    const ArchiveFacts &facts = result.facts;
    stream << facts.size << facts.sum << facts.build << facts.hash << result.failure
           << result.findings;
    return bytes;
}

TrialResult Unpacked(const QByteArray &bytes)
{
    TrialResult result;
    QDataStream stream(bytes);
    ArchiveFacts &facts = result.facts;
    stream >> facts.size >> facts.sum >> facts.build >> facts.hash >> result.failure
        >> result.findings;
    return result;
}

/// Reads the archive once, for its size, its sums and its copy.
ArchiveFacts ReadArchive(const ArchiveTrial &trial)
{
    ArchiveFacts facts;
    QFile from(trial.path);
    std::optional<OutputFile> copy;
    if (!trial.copy_path.isEmpty())
        copy.emplace(trial.copy_path);
    from.open(QIODevice::ReadOnly);
    QCryptographicHash hash(QCryptographicHash::Sha1);
    for (QByteArray block; from.isOpen() && !(block = from.read(kBlockSize)).isEmpty();) {
        const auto *bytes = reinterpret_cast<const unsigned char *>(block.constData());
        facts.size += block.size();
        facts.sum += SumOfBytes(bytes, bytes + block.size());
        hash.addData(block);
        if (copy)
            copy->Write(block);
    }
    facts.hash = hash.result().toHex();
    if (from.error() != QFileDevice::NoError)
        Fail(QString("%1: %2").arg(trial.path, from.errorString()));
    if (copy)
        copy->Close();
    return facts;
}

/// Looks at what came out of an archive, in \a place. Returns the build that it states.
QString CheckContent(const ArchiveTrial &trial, const QString &place, Findings &findings)
{
    // Qt passes over names that are not UTF-8.
    for (const auto &entry : std::filesystem::directory_iterator(Encoded(place))) {
        const QString name = QFile::decodeName(entry.path().filename().c_str());
        if (name != trial.target) {
            findings.Add(Rule::OutsideTarget, trial.subject,
                         QString("its entry \"%1\" is outside of the folder \"%2\"")
                             .arg(name, trial.target));
        }
    }
    QString build = BuildIn(place + '/' + trial.target);
    const QDate day = QDate::fromString(build, Qt::ISODate);
    if (day >= kFirstDay && day <= kLastDay && day.toString(Qt::ISODate) == build)
        return build;
    const QString version_info = trial.target + '/' + kVersionInfo;
    if (!QFileInfo::exists(place + '/' + version_info)) {
        findings.Add(Rule::NoBuild, trial.subject, QString("it has no \"%1\"").arg(version_info));
    } else {
        findings.Add(Rule::NoBuild, trial.subject,
                     QString("its version.info states the build \"%1\", which is no date from "
                             "1980 to 2099 such as 2024.05.01")
                         .arg(build.left(kLongestQuote)));
    }
    return {};
}

/// Unpacks the archive at \a path into a new folder \a place.
QString UnpackForTrial(const ArchiveTrial &trial, const QString &path, const QString &place,
                       Findings &findings)
{
    Progress silence(-1);
    try {
        Unpack(Encoded(path), Encoded(place), Purpose::Trial, silence);
        return CheckContent(trial, place, findings);
    } catch (const std::exception &failure) {
        if (failure.what() == std::string(NotEnoughSpace().what()))
            Fail(QString("%1: %2").arg(place, failure.what())); // no fault of the archive
        findings.Add(Rule::NotUnpackable, trial.subject,
                     QString("it cannot be unpacked in %1: %2")
                         .arg(QFileInfo(place).path(), QString::fromLocal8Bit(failure.what())));
        return {};
    }
}

TrialResult Try(const ArchiveTrial &trial, const QString &place)
{
    TrialResult result;
    try {
        result.facts = ReadArchive(trial);
        const QString path = trial.copy_path.isEmpty() ? trial.path : trial.copy_path;
        result.facts.build = UnpackForTrial(trial, path, place, result.findings);
        Remove(place);
    } catch (const Failure &failure) {
        result.failure = QString::fromLocal8Bit(failure.what());
    }
    return result;
}

} // namespace

QList<ArchiveFacts> TryArchives(const QList<ArchiveTrial> &trials, const QString &place,
                                Findings &findings, const std::function<void(int)> &progress)
{
    QVector<TrialResult> results(trials.size());
    int ended = 0;
    RunJobs(
        trials.size(),
        [&](int i) { return Packed(Try(trials[i], place + '/' + QString::number(i))); },
        [&](int i, const QByteArray &bytes) {
            if (bytes.isNull()) {
                results[i].findings.Add(Rule::NotUnpackable, trials[i].subject,
                                        "the process that unpacked it was killed");
            } else {
                results[i] = Unpacked(bytes);
            }
            if (!results[i].failure.isEmpty())
                Fail(results[i].failure);
            progress(++ended);
        });
    QList<ArchiveFacts> facts;
    for (const TrialResult &result : results) {
        facts.append(result.facts);
        findings.append(result.findings);
    }
    return facts;
}
