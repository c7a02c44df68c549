// What the disk says of a record, and what the window says of the work.

#include "app/mainwindow.h"

#include "app/datasingleton.h"
#include "app/mainwindow_helper.h"
#include "common/common_helper.h"
#include "panels/settingsdlg.h"
#include "pipeline/versioninfo.h"
#include "transfer/filedownloader.h"
#include "ui_mainwindow.h"

#include <QSet>

namespace {

bool IsInstallWork(int status)
{
    return status == RecordStatus::Installing || status == RecordStatus::Deleting
           || status == RecordStatus::InstallPending;
}

bool IsDownloadWork(int status)
{
    return status == RecordStatus::Downloading || status == RecordStatus::DownloadPending;
}

/// The mean progress of the records whose status counts.
class MeanProgress
{
public:
    explicit MeanProgress(bool (*counts)(int status))
        : m_counts(counts)
    {
    }

    void Add(const QList<DN_FILE_STRUCT *> &records)
    {
        for (const DN_FILE_STRUCT *record : records) {
            if (!m_counts(record->status))
                continue;
            m_count += 1.0F;
            m_sum += static_cast<float>(record->progress) / 100.0F;
        }
    }

    int Percent() const { return m_count > 0.99F ? static_cast<int>(m_sum / m_count * 100.0F) : 0; }

private:
    bool (*m_counts)(int status);
    float m_count = 0.0F;
    float m_sum = 0.0F;
};

} // namespace

void MainWindow::UpdateStatus(DN_FILE_STRUCT *record, bool queue_found)
{
    record->status = StatusOnDisk(record->install_root, record->install_dir, record->version);

    const QString downloads = DataSingleton::Inst()->GetDownloadsDir();
    const QString complete = downloads + "/" + record->file_name;
    const QString partial = complete + ".dnl";
    if (IsFilePresent(complete)) {
        if (GetFileSizeInBytes(complete) != record->file_size
            || GetFileDataChecksum(complete, 0) != record->checksum) {
            DeleteFile(complete);
            return;
        }
        record->local_dir = downloads;
        if (queue_found) {
            AddMsg(QString("Installing file %1...").arg(record->file_name), 1);
            AddToDelete(record);
            AddToInstall(record);
        }
    } else if (FileDownloader::GetDownloadedFileDetails(partial, record->time_stamp) <= 0) {
        DeleteFile(partial);
    } else if (queue_found) {
        AddMsg(QString("Downloading file %1...").arg(record->file_name), 1);
        AddToDownload(record);
    }
}

void MainWindow::UpdateActivityList()
{
    QList<DN_FILE_STRUCT *> active;
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
    MeanProgress install(IsInstallWork);
    install.Add(records);
    install.Add(local_records);
    ui->pbar_inst->setValue(install.Percent());

    MeanProgress download(IsDownloadWork);
    download.Add(records);
    ui->pbar_dl->setValue(download.Percent());
}
