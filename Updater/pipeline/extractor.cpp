#include "pipeline/extractor.h"

#include "Extractor/commands.h"
#include "app/datasingleton.h"
#include "app/mainwindow_helper.h"

#include <QProcess>

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

void StartDetachedExtractor(const QStringList &arguments)
{
    QProcess process;
    process.setProgram(ExtractorPath());
    process.setArguments(arguments);
    process.setStandardOutputFile(
        QProcess::nullDevice()); // or its percent would appear on our console
    process.setStandardErrorFile(QProcess::nullDevice());
    process.startDetached();
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
