// The connection sequence: a chain of single transfers. What has just ended decides what comes
// next.

#include "app/mainwindow.h"

#include "Repository/manifests.h"
#include "Repository/names.h"
#include "app/datasingleton.h"
#include "app/mainwindow_helper.h"
#include "catalogue/descriptions.h"
#include "catalogue/endpoints.h"
#include "catalogue/records.h"
#include "panels/settingsdlg.h"
#include "pipeline/extractor.h"
#include "transfer/filedownloader.h"
#include "ui_mainwindow.h"

#include <QDir>
#include <QGuiApplication>
#include <QSslConfiguration>

namespace {

const int kFetchTimeout = 15000; // ms
const int kProbeTimeout = 10000;
const int kMostNamed = 20;  // unsafe names that are logged: thousands would hold the window up
const int kMostShown = 200; // characters that the log shows of a line of the repository

const char kInvalidData[] = "Remote repository connection failed. Invalid data received. "
                            "Restart the program and try again.";

/// A text of the repository as one short line of the log.
QString OnOneLine(const QString &text)
{
    return text.simplified().left(kMostShown);
}

QString TransferFailure(const QString &error)
{
    return QString("Failed to connect to remote repository. %1").arg(error);
}

} // namespace

void MainWindow::onConnect(QString url)
{
    while (!records.isEmpty())
        delete records.takeLast();
    repo_url = RepositoryUrl(url, settings_dlg->IsAltLink());
    DataSingleton::Inst()->AddMsg("Connecting to " + repo_url + "...", LogLevel::Information);
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    // Contacts nobody, as a whole URL names no host: see FileDownloader::Start().
    network_manager.connectToHostEncrypted(repo_url, 443,
                                           QSslConfiguration::defaultConfiguration());
    StartFetch(FileListPath(), QString());
}

bool MainWindow::StartBaseDownload(const QString &url, bool head_only, const QString &file_path,
                                   int timeout_ms, DN_FILE_STRUCT *probed)
{
    delete base_downloader;
    base_downloader = new FileDownloader(this);
    connect(base_downloader, &FileDownloader::SignalDownloadFinished, this,
            &MainWindow::onBaseFilesDownloadFinished);
    return base_downloader->Start(&network_manager, url, head_only, probed ? probed->file_size : 0,
                                  file_path, QString(), false, timeout_ms, probed);
}

void MainWindow::StartFetch(const QString &resource, const QString &file_path)
{
    if (!StartBaseDownload(repo_url + resource, false, file_path, kFetchTimeout, nullptr))
        FailConnecting(TransferFailure(base_downloader->m_error));
}

void MainWindow::StartProbe(int index)
{
    probe_index = index;
    DN_FILE_STRUCT *record = records[index];
    // A transfer into memory starts, or the first fetch of the sequence would have failed.
    StartBaseDownload(repo_url + ComponentFilePath(record->remote_dir, record->file_name), true,
                      QString(), kProbeTimeout, record);
}

void MainWindow::onBaseFilesDownloadFinished(FileDownloader *fd)
{
    if (closed)
        return;
    if (fd->m_userData) {
        AcceptProbe(fd);
        return;
    }
    if (!fd->m_error.isEmpty()) {
        FailConnecting(TransferFailure(fd->m_error));
        return;
    }
    QByteArray bytes;
    if (fd->m_url.contains(kFileList)) {
        fd->GetDownloadedData(bytes);
        AcceptFileList(bytes);
    } else if (fd->m_url.contains(kDescriptionsArchive)) {
        AcceptDescriptions();
    } else if (fd->m_url.contains(kPackageList)) {
        fd->GetDownloadedData(bytes);
        AcceptPackageList(bytes);
    }
}

void MainWindow::AcceptFileList(const QByteArray &bytes)
{
    if (!ReadFileList(bytes, fversions_lines)) {
        FailConnecting(kInvalidData);
        return;
    }
    if (fversions_lines.isEmpty()) {
        AddMsg("Connected...but nothing to download.", LogLevel::Warning);
        ReturnToIdle();
        return;
    }
    if (!MayWork()) { // another updater may be unpacking the descriptions
        StartFetch(PackageListPath(), QString());
        return;
    }
    descriptions_process.Kill(); // it would unpack the archive that now comes anew
    StartFetch(DescriptionsPath(), DescriptionsArchive());
}

/// The archive of the descriptions goes to a file, and a server that announces no length could fill
/// the disk.
void MainWindow::WatchDescriptions()
{
    if (!base_downloader || !base_downloader->m_url.contains(kDescriptionsArchive))
        return;
    const qint64 announced = base_downloader->m_contentLength.toLongLong();
    StopIfEndless(base_downloader, DescriptionsArchive(), announced);
}

void MainWindow::AcceptDescriptions()
{
    const QString downloads = DataSingleton::Inst()->GetDownloadsDir();
    if (!files_before_descriptions) {
        const QStringList names = QDir(downloads).entryList(QDir::Files | QDir::Hidden);
        files_before_descriptions.emplace(names.begin(), names.end());
    }
    descriptions_process.Start(UnpackArguments(kDescriptionsArchive, downloads, downloads));
    StartFetch(PackageListPath(), QString());
}

void MainWindow::AcceptPackageList(const QByteArray &bytes)
{
    if (!ReadPackageList(bytes, bsps_lines)) {
        FailConnecting(kInvalidData);
        return;
    }
    MakeRecords();
    ui->pbar_dl->setValue(0);
    if (records.isEmpty())
        EndProbes();
    else
        StartProbe(0);
}

void MainWindow::MakeRecords()
{
    int unsafe = 0;
    for (const QString &line : qAsConst(fversions_lines)) {
        std::unique_ptr<DN_FILE_STRUCT> record = RecordFromLine(line);
        if (!record)
            continue;
        if (IsInstallable(record->file_name))
            records.append(record.release());
        else if (++unsafe <= kMostNamed)
            AddMsg("File can't be installed safely, line passed over: " + OnOneLine(line),
                   LogLevel::Warning);
    }
    if (unsafe > kMostNamed)
        AddMsg(QString("%1 more lines passed over.").arg(unsafe - kMostNamed), LogLevel::Warning);
}

void MainWindow::AcceptProbe(FileDownloader *fd)
{
    auto *record = static_cast<DN_FILE_STRUCT *>(fd->m_userData);
    if (fd->m_error.isEmpty()) {
        record->file_size = fd->m_contentLength.toLongLong();
        record->time_stamp = fd->m_lastModified;
    }
    const int last = records.size() - 1;
    const int index = probe_index <= last && records[probe_index] == record
                          ? probe_index
                          : records.indexOf(record);
    if (index >= last) {
        EndProbes();
        return;
    }
    StartProbe(index + 1);
    ui->pbar_dl->setValue(index * 100 / records.size());
}

void MainWindow::EndProbes()
{
    ui->pbar_dl->setValue(0);
    delete base_downloader;
    base_downloader = nullptr;
    // Queued, so that the tree is built when the slot of the last transfer has returned.
    QMetaObject::invokeMethod(this, "AddTreeArchItems", Qt::QueuedConnection);
}

void MainWindow::ReturnToIdle()
{
    delete base_downloader;
    base_downloader = nullptr;
    settings_dlg->EnableConnectPB(true);
    QGuiApplication::restoreOverrideCursor();
}

void MainWindow::FailConnecting(const QString &message)
{
    AddMsg(message, LogLevel::Error);
    ReturnToIdle();
}
