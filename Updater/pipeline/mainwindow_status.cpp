// What the disk says of a record, and what the window says of the work.

#include "app/mainwindow.h"

#include "Repository/version_info.h"
#include "app/datasingleton.h"
#include "app/mainwindow_helper.h"
#include "common/common_helper.h"
#include "panels/settingsdlg.h"
#include "pipeline/downloads.h"
#include "transfer/filedownloader.h"
#include "ui_mainwindow.h"

#include <QSet>

namespace {

using Records = QList<DN_FILE_STRUCT *>;

/// The mean progress of the records whose status counts; 0 if there is none.
int MeanPercent(const QList<const Records *> &lists, bool (*counts)(int status))
{
    float count = 0.0F;
    float sum = 0.0F;
    for (const Records *list : lists) {
        for (const DN_FILE_STRUCT *record : *list) {
            if (!counts(record->status))
                continue;
            count += 1.0F;
            sum += static_cast<float>(record->progress) / 100.0F;
        }
    }
    return count > 0.99F ? static_cast<int>(sum / count * 100.0F) : 0;
}

/// The status that the record's component has on the disk.
int InstalledStatus(const DN_FILE_STRUCT &record)
{
    switch (CompareBuild(ComponentDir(record), record.version)) {
    case InstalledBuild::Missing:
        return RecordStatus::NotInstalled;
    case InstalledBuild::This:
        return RecordStatus::Installed;
    case InstalledBuild::Other:
        break;
    }
    return RecordStatus::UpdateAvailable;
}

} // namespace

void MainWindow::UpdateStatus(DN_FILE_STRUCT *record, bool queue_found)
{
    record->status = InstalledStatus(*record);
    if (MayWork()) // else the updater that holds the lock uses the files
        LookForDownload(record, queue_found);
}

/// Goes on with what an earlier run has left of the record's download, or deletes it if it is of no
/// use.
void MainWindow::LookForDownload(DN_FILE_STRUCT *record, bool queue_found)
{
    const QString complete = CompletePath(*record);
    const QString partial = PartialPath(*record);
    const bool is_complete = IsFilePresent(complete);
    if (queue_found && MayComeFromDescriptions(is_complete ? complete : partial))
        return;
    if (is_complete) {
        if (GetFileSizeInBytes(complete) != record->file_size
            || GetFileDataChecksum(complete, 0) != record->checksum) {
            if (!IsAwaited(*record))
                DeleteFile(complete);
            return;
        }
        record->local_dir = DataSingleton::Inst()->GetDownloadsDir();
        if (queue_found) {
            AddMsg(QString("Installing file %1...").arg(record->file_name), LogLevel::Information);
            AddToDelete(record);
            AddToInstall(record);
        }
    } else if (FileDownloader::GetDownloadedFileDetails(partial, record->time_stamp) <= 0) {
        if (!IsAwaited(*record))
            DeleteFile(partial);
    } else if (queue_found) {
        AddMsg(QString("Downloading file %1...").arg(record->file_name), LogLevel::Information);
        AddToDownload(record);
    }
}

/// The archive of the descriptions is unpacked in the downloads directory and may hold any file. A
/// file that came with it is no download of the user's, whatever its name.
bool MainWindow::MayComeFromDescriptions(const QString &path) const
{
    return files_before_descriptions
           && files_before_descriptions->count(ExtractFileName(path)) == 0;
}

void MainWindow::UpdateActivityList()
{
    Records active;
    QSet<DN_FILE_STRUCT *> seen;
    for (const auto *queue :
         {&download_queue, &install_queue, &post_install_queue, &delete_queue}) {
        for (DN_FILE_STRUCT *record : *queue) {
            if (seen.contains(record))
                continue;
            seen.insert(record);
            active.append(record);
        }
    }
    settings_dlg->UpdateActivity(active);
}

void MainWindow::UpdateProgressBars()
{
    if (base_downloader)
        return; // the bars belong to the connection sequence
    ui->pbar_inst->setValue(MeanPercent({&records, &local_records}, IsInstallWork));
    ui->pbar_dl->setValue(MeanPercent({&records}, IsDownloadWork));
}
