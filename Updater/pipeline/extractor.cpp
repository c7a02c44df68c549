#include "pipeline/extractor.h"

#include "Extractor/commands.h"
#include "app/datasingleton.h"
#include "app/mainwindow_helper.h"

#include <QFile>
#include <QProcess>
#include <QThread>

#include <csignal>

namespace {

const int kStartWait = 50; // ms
const int kKillWait = 100;

} // namespace

QString ExtractorPath()
{
    return DataSingleton::Inst()->DeployPath() + "/bin_lnx/zeft_fextr_cmd";
}

QString ScriptPath(const QString &component_dir)
{
    return component_dir + "/zeft_install.sh";
}

QStringList UnpackArguments(const QString &file_name, const QString &local_dir,
                            const QString &install_root)
{
    const QString command = file_name.contains(".tar.") ? kUnpackTarCommand : kUnpackZipCommand;
    // An installation at the file system's root has an empty text for its path.
    const QString destination = install_root.isEmpty() ? QString("/") : install_root;
    return {command, "#" + local_dir + "/" + file_name, "#" + destination};
}

QStringList ScriptArguments(const QString &component_dir)
{
    return {kRunScriptCommand, "#" + ScriptPath(component_dir), "#" + component_dir, kCloseWord};
}

QStringList DeleteArguments(const QString &component_dir)
{
    return {kDeleteFolderCommand, "#" + component_dir};
}

bool LastPercent(const QByteArray &output, int &percent)
{
    const QString text = QString::fromLatin1(output.constData()); // up to a NUL
    const int sign = text.lastIndexOf('%');
    if (sign < 3)
        return false;
    percent = text.mid(sign - 3, 3).trimmed().toInt();
    return true;
}

QProcess *StartExtractor(const QStringList &arguments)
{
    auto *process = new QProcess;
    process->setWorkingDirectory(DataSingleton::Inst()->GetDownloadsDir());
    process->setProgram(ExtractorPath());
    process->setArguments(arguments);
    process->start(QIODevice::ReadWrite);
    process->waitForStarted(kStartWait);
    return process;
}

void DetachedExtractor::Start(const QStringList &arguments)
{
    m_arguments = arguments;
    QProcess process;
    process.setProgram(ExtractorPath());
    process.setArguments(arguments);
    process.setStandardOutputFile(
        QProcess::nullDevice()); // or its percent would appear on our console
    process.setStandardErrorFile(QProcess::nullDevice());
    process.startDetached(&m_pid);
}

void DetachedExtractor::Kill()
{
    if (!IsAtWork())
        return;
    const auto pid = static_cast<pid_t>(m_pid);
    ::kill(pid, SIGKILL);
    // A process is there until all its threads have ended, and waits in vain where nobody reaps it.
    for (int waited = 0; waited < kKillWait && ::kill(pid, 0) == 0; ++waited)
        QThread::msleep(1);
}

/// Once the run has ended, its process id may be another program's.
bool DetachedExtractor::IsAtWork() const
{
    const QByteArray arguments = QFile::encodeName(m_arguments.join(QChar::Null)) + '\0';
    QFile command_line(QString("/proc/%1/cmdline").arg(m_pid)); // proc(5)
    return m_pid > 0 && command_line.open(QFile::ReadOnly)
           && command_line.readAll().endsWith(arguments);
}

void KillExtractor(QProcess *&process)
{
    if (!process)
        return;
    process->kill();
    // Deleting a process that still runs would complain on the console, and wait without a limit.
    if (process->state() == QProcess::NotRunning || process->waitForFinished(kKillWait))
        delete process;
    else
        QObject::connect(process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished),
                         process, &QObject::deleteLater);
    process = nullptr;
}

bool FollowRun(QProcess *process, DN_FILE_STRUCT *record, int floor)
{
    int percent = 0;
    switch (process->state()) {
    case QProcess::Starting:
        break;
    case QProcess::Running:
        if (LastPercent(process->readAll(), percent))
            record->progress = qMax(floor, percent);
        break;
    case QProcess::NotRunning:
        return true;
    }
    return false;
}
