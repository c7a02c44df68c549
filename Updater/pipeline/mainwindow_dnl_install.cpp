// The work pipeline: four queues, and a stage for each that takes one step at every heartbeat.

#include "app/mainwindow.h"

#include "Repository/names.h"
#include "app/datasingleton.h"
#include "app/mainwindow_helper.h"
#include "catalogue/descriptions.h"
#include "common/common_helper.h"
#include "panels/widget_helper.h"
#include "pipeline/downloads.h"
#include "pipeline/extractor.h"
#include "transfer/filedownloader.h"
#include "ui_mainwindow.h"

#include <QFileInfo>
#include <QProcess>

#include <algorithm>
#include <limits>

namespace {

using Queue = QList<DN_FILE_STRUCT *>;

const int kTransfersAtOnce = 2;
const int kDownloadTimeout = 15000; // ms
const int kFirstPercent = 5;        // an installation that has just begun shows some progress
const int kNoFloor = std::numeric_limits<int>::min();
const qint64 kAlwaysAllowed = 64000000; // bytes that a transfer may bring, whatever was announced

/// The most that a transfer of a file of \a announced bytes may bring before it is stopped.
qint64 MostBytes(qint64 announced)
{
    const qint64 most = std::numeric_limits<qint64>::max();
    return qMax(kAlwaysAllowed, announced < most / 2 ? 2 * announced : most);
}

void Enqueue(Queue &queue, DN_FILE_STRUCT *record, int status)
{
    record->progress = 0;
    record->status = status;
    queue.append(record);
}

/// True while the record's directory is still to be deleted, be it for another record of the same
/// component.
bool IsHeldBack(const DN_FILE_STRUCT *record, const Queue &delete_queue)
{
    return std::any_of(
        delete_queue.begin(), delete_queue.end(), [record](const DN_FILE_STRUCT *deleted) {
            return deleted == record
                   || (!record->install_dir.isEmpty() && deleted->install_dir == record->install_dir
                       && deleted->install_root == record->install_root);
        });
}

/// The record at the head of a queue, which may start now. One that is held back goes to the end of
/// the queue; null then, and nothing of this queue starts at this heartbeat.
DN_FILE_STRUCT *TakeTurn(Queue &queue, const Queue &delete_queue)
{
    if (queue.isEmpty())
        return nullptr;
    if (!IsHeldBack(queue.first(), delete_queue))
        return queue.first();
    queue.append(queue.takeFirst());
    return nullptr;
}

/// Says in the log and in the record that a run for it begins.
void ShowInstalling(DN_FILE_STRUCT *record)
{
    DataSingleton::Inst()->AddMsg(QString("Installing file %1...").arg(record->file_name),
                                  LogLevel::Information);
    record->status = RecordStatus::Installing;
    record->progress = kFirstPercent;
}

/// Takes the record out of a queue of installations, and kills its run if it is the one that runs.
/// False if the queue doesn't hold it.
bool CancelInstall(Queue &queue, QProcess *&process, DN_FILE_STRUCT *record)
{
    const int place = queue.indexOf(record);
    if (place < 0)
        return false;
    if (place == 0)
        KillExtractor(process);
    queue.removeAt(place);
    return true;
}

/// Ends a run: the head leaves the queue with its status, and the process goes.
DN_FILE_STRUCT *FinishHead(Queue &queue, QProcess *&process, int status)
{
    DN_FILE_STRUCT *record = queue.takeFirst();
    record->status = status;
    record->progress = 0;
    delete process;
    process = nullptr;
    return record;
}

} // namespace

void MainWindow::AddToDownload(DN_FILE_STRUCT *record)
{
    if (!download_queue.contains(record) && !install_queue.contains(record))
        Enqueue(download_queue, record, RecordStatus::DownloadPending);
}

void MainWindow::AddToInstall(DN_FILE_STRUCT *record)
{
    if (!install_queue.contains(record))
        Enqueue(install_queue, record, RecordStatus::InstallPending);
}

void MainWindow::AddToPostInstall(DN_FILE_STRUCT *record)
{
    if (!post_install_queue.contains(record))
        Enqueue(post_install_queue, record, RecordStatus::InstallPending);
}

void MainWindow::AddToDelete(DN_FILE_STRUCT *record)
{
    if (!delete_queue.contains(record))
        Enqueue(delete_queue, record, RecordStatus::Deleting);
}

void MainWindow::StopDownload(DN_FILE_STRUCT *record)
{
    delete record->downloader;
    record->downloader = nullptr;
    download_queue.removeOne(record);
}

void MainWindow::CancelDownloadInstall(DN_FILE_STRUCT *record)
{
    if (download_queue.contains(record)) {
        StopDownload(record);
        DeleteLeftovers(*record);
        UpdateStatus(record, false);
    }
    if (CancelInstall(install_queue, install_process, record))
        AddToDelete(record);
    if (CancelInstall(post_install_queue, post_install_process, record))
        AddToDelete(record);
}

void MainWindow::on_pb_pause_clicked()
{
    const bool pause = ui->pb_pause->text().contains("Pause");
    for (const DN_FILE_STRUCT *record : qAsConst(records)) {
        if (!record->downloader)
            continue;
        if (pause)
            record->downloader->Pause();
        else
            record->downloader->Resume();
    }
    SetButtonText(ui->pb_pause, pause ? " Resume Downloads " : " Pause Downloads ");
}

void MainWindow::ProcessDownload()
{
    // A copy, as a start that fails takes its record out of the queue.
    const Queue first = download_queue.mid(0, kTransfersAtOnce);
    for (DN_FILE_STRUCT *record : first) {
        if (record->downloader)
            FollowDownload(record);
        else if (!IsToBeUnpacked(*record) && !IsBeingTransferred(*record))
            StartDownload(record);
    }
}

void MainWindow::FollowDownload(DN_FILE_STRUCT *record)
{
    record->progress = ProgressFromPercent(record->downloader->m_percent);
    StopIfEndless(record->downloader, PartialPath(*record), record->file_size);
}

/// Ends a transfer into the file at \a path that brings far more than \a announced bytes. The file
/// goes, and the transfer has gone with its finish.
void MainWindow::StopIfEndless(FileDownloader *transfer, const QString &path, qint64 announced)
{
    if (GetFileSizeInBytes(path) <= MostBytes(announced))
        return;
    transfer->m_error = "Server sends far more than the file's size";
    transfer->Abort(true);
}

void MainWindow::StartDownload(DN_FILE_STRUCT *record)
{
    DeleteFile(CompletePath(*record));
    record->status = RecordStatus::Downloading;
    record->local_dir.clear();

    auto *transfer = new FileDownloader(this);
    record->downloader = transfer;
    connect(transfer, &FileDownloader::SignalDownloadFinished, this,
            &MainWindow::onInstallFilesDownloadFinished);
    const QString url = repo_url + ComponentFilePath(record->remote_dir, record->file_name);
    const bool started =
        transfer->Start(&network_manager, url, false, record->file_size, PartialPath(*record),
                        record->time_stamp, true, kDownloadTimeout, record);
    AddMsg(QString("Downloading file %1...").arg(record->file_name), LogLevel::Information);
    if (!started) {
        RejectDownload(record, transfer->m_error);
        StopDownload(record);
    }
}

void MainWindow::onInstallFilesDownloadFinished(FileDownloader *fd)
{
    auto *record = static_cast<DN_FILE_STRUCT *>(fd->m_userData);
    if (fd->m_error.isEmpty())
        AcceptDownload(record);
    else
        RejectDownload(record, fd->m_error);
    // Safe inside its own signal: the transfer touches nothing of itself after the emit.
    StopDownload(record);
}

void MainWindow::AcceptDownload(DN_FILE_STRUCT *record)
{
    RenameFileFolderHelper(PartialPath(*record), record->file_name);
    record->local_dir = DataSingleton::Inst()->GetDownloadsDir();
    if (GetFileSizeInBytes(CompletePath(*record)) == record->file_size) {
        AddToDelete(record);
        AddToInstall(record);
        AddMsg(QString("File %1 downloaded. Queued for installation.").arg(record->file_name),
               LogLevel::Information);
    } else {
        record->status = RecordStatus::Error;
        record->progress = 0;
        AddMsg(QString("Downloaded file %1 checksum failed. Trying downloading again.")
                   .arg(record->file_name),
               LogLevel::Error);
    }
}

void MainWindow::RejectDownload(DN_FILE_STRUCT *record, const QString &error)
{
    record->status = RecordStatus::Error;
    record->progress = 0;
    AddMsg(QString("Error while downloading file '%1'. %2. Try downloading again.")
               .arg(record->file_name, error),
           LogLevel::Error);
}

void MainWindow::ProcessInstall()
{
    if (!install_process)
        StartInstall();
    else if (FollowRun(install_process, install_queue.first(), kFirstPercent))
        FinishInstall();
}

void MainWindow::StartInstall()
{
    DN_FILE_STRUCT *record = TakeTurn(install_queue, delete_queue);
    if (!record)
        return;
    ShowInstalling(record);
    install_process =
        StartExtractor(UnpackArguments(record->file_name, record->local_dir, record->install_root));
}

void MainWindow::FinishInstall()
{
    DN_FILE_STRUCT *record = FinishHead(install_queue, install_process, RecordStatus::Installed);
    DeleteLeftovers(*record);
    if (QFileInfo::exists(ScriptPath(ComponentDir(*record)))) {
        AddToPostInstall(record);
        AddMsg(QString("File %1 installed. Post installation script found. Running post "
                       "installation script.")
                   .arg(record->file_name),
               LogLevel::Information);
    } else {
        AddMsg(QString("File %1 installed.").arg(record->file_name), LogLevel::Information);
    }
}

void MainWindow::ProcessPostInstall()
{
    if (!post_install_process)
        StartPostInstall();
    else if (FollowRun(post_install_process, post_install_queue.first(), kFirstPercent))
        FinishPostInstall();
}

void MainWindow::StartPostInstall()
{
    DN_FILE_STRUCT *record = TakeTurn(post_install_queue, delete_queue);
    if (!record)
        return;
    ShowInstalling(record);
    post_install_process = StartExtractor(ScriptArguments(ComponentDir(*record)));
}

void MainWindow::FinishPostInstall()
{
    const DN_FILE_STRUCT *record =
        FinishHead(post_install_queue, post_install_process, RecordStatus::Installed);
    AddMsg(QString("File %1 post-installation completed.").arg(record->file_name),
           LogLevel::Information);
}

void MainWindow::ProcessDelete()
{
    if (!delete_process)
        StartDelete();
    else if (FollowRun(delete_process, delete_queue.first(), kNoFloor))
        FinishDelete();
}

void MainWindow::StartDelete()
{
    if (delete_queue.isEmpty())
        return;
    DN_FILE_STRUCT *record = delete_queue.first();
    record->status = RecordStatus::Deleting;
    record->progress = 0;
    AddMsg(QString("Deleting directory %1...").arg(ComponentDir(*record)), LogLevel::Information);
    delete_process = StartExtractor(DeleteArguments(ComponentDir(*record)));
}

void MainWindow::FinishDelete()
{
    DN_FILE_STRUCT *record = FinishHead(delete_queue, delete_process, RecordStatus::NotInstalled);
    if (install_queue.contains(record))
        record->status = RecordStatus::InstallPending;
    else
        DeleteLeftovers(*record);
    AddMsg(QString("Deleted directory %1.").arg(ComponentDir(*record)), LogLevel::Information);
}

/// True while a queued installation reads the file that the record has in the downloads directory,
/// be it one that the user has picked there.
bool MainWindow::IsToBeUnpacked(const DN_FILE_STRUCT &record) const
{
    const QString downloads = DataSingleton::Inst()->GetDownloadsDir();
    const QFileInfo file(CompletePath(record));
    return file.exists()
           && std::any_of(install_queue.begin(), install_queue.end(),
                          [&](const DN_FILE_STRUCT *other) {
                              if (other->local_dir == downloads)
                                  return other->file_name == record.file_name;
                              return QFileInfo(other->local_dir + "/" + other->file_name) == file;
                          });
}

/// True while a transfer, be it another record's of the same name, writes the record's partial
/// file.
bool MainWindow::IsBeingTransferred(const DN_FILE_STRUCT &record) const
{
    return std::any_of(download_queue.begin(), download_queue.end(),
                       [&](const DN_FILE_STRUCT *other) {
                           return other->downloader && other->file_name == record.file_name;
                       });
}

/// True while a record in a queue still needs one of the record's files in the downloads directory.
bool MainWindow::IsAwaited(const DN_FILE_STRUCT &record) const
{
    return IsToBeUnpacked(record)
           || std::any_of(
               download_queue.begin(), download_queue.end(),
               [&](const DN_FILE_STRUCT *other) { return other->file_name == record.file_name; });
}

void MainWindow::DeleteLeftovers(const DN_FILE_STRUCT &record)
{
    if (!IsAwaited(record) && MayWork())
        DeleteDownload(record);
}

void MainWindow::DelNonRequiredFiles()
{
    if (!MayWork())
        return;
    descriptions_process.Kill(); // it would unpack again what is deleted here
    DeleteDescriptions();
}
