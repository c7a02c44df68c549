#include "report.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace {

const int kMostOfARule = 20; // lines, for a person to read

const char *NameOf(Level level)
{
    return level == Level::Error ? "error" : "warning";
}

QJsonArray JsonOf(const Findings &findings)
{
    QJsonArray array;
    for (const Finding &finding : findings) {
        array.append(QJsonObject{{"rule", IdOf(finding.rule)},
                                 {"level", NameOf(InfoOf(finding.rule).level)},
                                 {"subject", finding.subject},
                                 {"text", finding.text},
                                 {"mend", InfoOf(finding.rule).mend}});
    }
    return array;
}

QJsonArray JsonOf(const QList<Change> &changes)
{
    QJsonArray array;
    for (const Change &change : changes)
        array.append(QJsonObject{
            {"kind", KindName(change.kind)}, {"name", change.name}, {"notice", change.notice}});
    return array;
}

/// A line in which names of files can't write what they like on a terminal.
QByteArray Plain(QString line)
{
    std::replace_if(
        line.begin(), line.end(), [](QChar c) { return c.category() == QChar::Other_Control; },
        '?');
    return line.toUtf8();
}

void Print(const QString &line)
{
    std::printf("%s\n", Plain(line).constData());
}

void Print(const QJsonObject &object)
{
    std::fputs(QJsonDocument(object).toJson().constData(), stdout);
}

/// A fault of a server's settings is found in each file.
void PrintFindings(const Findings &findings)
{
    QMap<Rule, int> counts;
    for (const Finding &finding : findings) {
        if (++counts[finding.rule] <= kMostOfARule)
            Print(LineOf(finding));
    }
    for (auto it = counts.begin(); it != counts.end(); ++it) {
        if (*it > kMostOfARule) {
            Print(QString("%1: %2 more, which --json names")
                      .arg(IdOf(it.key()))
                      .arg(*it - kMostOfARule));
        }
    }
}

void PrintChanges(const BuildResult &result)
{
    int unchanged = 0;
    for (const Change &change : result.changes) {
        if (change.kind == Change::Unchanged)
            ++unchanged;
        else {
            Print(QString("%1 %2: %3")
                      .arg(KindName(change.kind), -8)
                      .arg(change.name, change.notice));
        }
    }
    Print(QString("unchanged: %1").arg(unchanged));
    if (!result.dated_by_build.isEmpty())
        Print(QString("dated by version.info, since the file's own date is another: %1")
                  .arg(result.dated_by_build.size()));
}

const char *NameOf(Outcome outcome)
{
    static const char *const names[] = {"refused", "dry run", "nothing to do", "published"};
    return names[static_cast<int>(outcome)];
}

QString Summary(const BuildResult &result, const QString &site_dir)
{
    if (result.outcome != Outcome::Published)
        return QString("%1: %2 is as it was").arg(NameOf(result.outcome), site_dir);
    const QString way = result.is_at_once ? "at once"
                                          : "file by file, the lists last, since this file system "
                                            "can't exchange folders";
    return QString("published: %1, %2; components: %3, packages: %4")
        .arg(site_dir, way, QString::number(result.components), QString::number(result.packages));
}

} // namespace

QString LineOf(const Finding &finding)
{
    const RuleInfo &info = InfoOf(finding.rule);
    return QString("%1: %2 %3: %4; %5")
        .arg(finding.subject, NameOf(info.level), IdOf(finding.rule), finding.text, info.mend);
}

int ReportFindings(const Findings &findings, const QString &target, const ReportStyle &style)
{
    if (style.is_json) {
        Print(QJsonObject{{"target", target}, {"findings", JsonOf(findings)}});
    } else {
        PrintFindings(findings);
        if (!style.is_quiet)
            Print(
                QString("checked: %1, findings: %2").arg(target, QString::number(findings.size())));
    }
    return findings.HasErrors() ? 1 : 0;
}

int ReportBuild(const BuildResult &result, const QString &site_dir, const ReportStyle &style)
{
    if (style.is_json) {
        Print(QJsonObject{{"outcome", NameOf(result.outcome)},
                          {"site", site_dir},
                          {"at_once", result.is_at_once},
                          {"components", result.components},
                          {"packages", result.packages},
                          {"findings", JsonOf(result.findings)},
                          {"dated_by_build", QJsonArray::fromStringList(result.dated_by_build)},
                          {"changes", JsonOf(result.changes)}});
    } else {
        PrintFindings(result.findings);
        if (!style.is_quiet) {
            PrintChanges(result);
            Print(Summary(result, site_dir));
        }
    }
    return result.outcome == Outcome::Refused ? 1 : 0;
}

void ReportFailure(const QString &text, const ReportStyle &style)
{
    if (style.is_json)
        Print(QJsonObject{{"failure", text}});
    std::fprintf(stderr, "zeft_repo: %s\n", Plain(text).constData());
}

void ShowProgressLine(int done, int total)
{
    if (::isatty(STDERR_FILENO) == 0)
        return;
    std::fprintf(stderr, "\r%d of %d archives%s", done, total, done == total ? "\r\033[K" : "");
}
