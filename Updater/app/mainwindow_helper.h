#pragma once

#include <QString>

class FileDownloader;

/// The values of DN_FILE_STRUCT::status.
namespace RecordStatus {
enum : int {
    Error = -1,          // the last transfer failed; waits for the user
    Unknown = 0,         // not yet looked at
    NotInstalled = 1,    // no component directory
    UpdateAvailable = 2, // a component directory of another build, or without version.info
    DownloadPending = 3, // in download_queue, no transfer yet
    Downloading = 4,     // its transfer runs or is paused
    InstallPending = 5,  // in install_queue or post_install_queue
    Installing = 6,      // the extractor or the component's script runs
    Installed = 7,       // the component directory holds this version
    Deleting = 8         // in delete_queue
};
}

/// One file that can be installed as a component, with all that is known of it.
///
/// Records are owned by MainWindow (records, local_records) and never move: queues, pages and table
/// rows hold borrowed pointers. Nothing of a record outlives the run.
struct DN_FILE_STRUCT
{
    QString file_name;    // without a directory; safe as one, see IsInstallable()
    QString remote_dir;   // below "/zeft/" in the repository; of a local file, its directory
    QString time_stamp;   // date, "T", time; also the stamp of a partial file
    QString version;      // time_stamp up to its "T"; empty for a local file
    QString status_text;  // written by the heartbeat alone
    QString install_root; // the component's directory is install_root + "/" + install_dir
    QString install_dir;
    QString local_dir;    // where the complete file lies; empty while it is not complete
    QString display_name; // label and size, as the record's page shows them
    qint64 checksum = 0;  // sum of the bytes; 0 for a local file
    qint64 file_size = 0; // bytes
    int status = RecordStatus::Unknown;
    int progress = 0;                     // percent of the present stage, 0 to 100
    FileDownloader *downloader = nullptr; // owned by the record's place in download_queue
};

/// The text of the status columns, with the percent where a stage shows one.
QString StatusText(int status, int progress);

/// The directory that the component is installed into.
QString ComponentDir(const DN_FILE_STRUCT &record);

/// The percent of a transfer as a record's progress: NaN and all that is out of range are brought
/// to 0 to 100, for a transfer of unknown or no size reports such.
int ProgressFromPercent(float percent);

// The statuses that count for the download bar, for the install bar, and either of them.
bool IsDownloadWork(int status);
bool IsInstallWork(int status);
bool IsInWork(int status);
