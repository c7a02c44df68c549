#include "app/mainwindow_helper.h"

QString StatusText(int status, int progress)
{
    const auto with_percent = [progress](const char *text) {
        return QString::fromLatin1(text) + " [" + QString::number(progress) + "%]";
    };
    switch (status) {
    case RecordStatus::Error:
        return QStringLiteral("Error");
    case RecordStatus::NotInstalled:
        return QStringLiteral("Not Installed");
    case RecordStatus::UpdateAvailable:
        return QStringLiteral("Update Available");
    case RecordStatus::DownloadPending:
        return QStringLiteral("Download Pending");
    case RecordStatus::Downloading:
        return with_percent("Downloading");
    case RecordStatus::InstallPending:
        return QStringLiteral("Install Pending");
    case RecordStatus::Installing:
        return with_percent("Installing");
    case RecordStatus::Installed:
        return QStringLiteral("Installed");
    case RecordStatus::Deleting:
        return QStringLiteral("Deleting");
    default:
        return QStringLiteral("-");
    }
}

QString ComponentDir(const DN_FILE_STRUCT &record)
{
    return record.install_root + "/" + record.install_dir;
}

int ProgressFromPercent(float percent)
{
    if (!(percent > 0.0F)) // NaN is not above 0 either
        return 0;
    return percent < 100.0F ? static_cast<int>(percent) : 100;
}

bool IsDownloadWork(int status)
{
    return status == RecordStatus::DownloadPending || status == RecordStatus::Downloading;
}

bool IsInstallWork(int status)
{
    return status == RecordStatus::InstallPending || status == RecordStatus::Installing
           || status == RecordStatus::Deleting;
}

bool IsInWork(int status)
{
    return IsDownloadWork(status) || IsInstallWork(status);
}
