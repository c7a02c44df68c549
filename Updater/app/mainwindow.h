#pragma once

#include "pipeline/extractor.h"

#include <QMainWindow>
#include <QNetworkAccessManager>
#include <QStringList>

#include <optional>
#include <set>

class FileDownloader;
class InstallationLock;
class QProcess;
class QTreeWidgetItem;
class SettingsDlg;
class Ui_MainWindow;
struct DN_FILE_STRUCT;

/// The one window: owner of all records, of the queues and of the network manager, and the clock
/// that drives all work.
///
/// Everything runs on the main thread. Every 500 ms Timer500() turns the records' statuses into
/// text and gives each stage of the pipeline one step. The members are spread over the folders by
/// theme; the groups below name the file.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget *parent);
    ~MainWindow() override;

    // Window, heartbeat, log (app/mainwindow.cpp)

    /// Lets the window transfer, run and delete nothing while another program holds \a lock. The
    /// lock is borrowed and must outlive the event loop.
    void WorkUnder(InstallationLock *lock) { installation_lock = lock; }
    /// Starts the heartbeat and the log. Call it once, when DataSingleton exists.
    void Initialize();
    /// Appends a line to the log in the colour of \a level, see LogLevel.
    void AddMsg(const QString &text, int level);

    // Tree (catalogue/mainwindow_ui.cpp)

    /// Highlights the tree item whose page shows \a record, if there is one.
    void SetTreeItemVisible(DN_FILE_STRUCT *record);
    /// Makes a record and a row of a picked file and sends it to installation. A file that can't be
    /// installed safely gives an error in the log and nothing else.
    void AddToLocalInstall(const QString &path);

    // Queues and cancelling (pipeline/mainwindow_dnl_install.cpp)

    // Each enters the record into a queue, at its end, and sets its status; without any effect
    // where the record is in work there already.
    void AddToDownload(DN_FILE_STRUCT *record);
    void AddToInstall(DN_FILE_STRUCT *record);
    void AddToPostInstall(DN_FILE_STRUCT *record);
    void AddToDelete(DN_FILE_STRUCT *record);

    /// Stops the record's transfer, if one runs, and takes it out of download_queue. What has
    /// arrived stays in the partial file.
    void StopDownload(DN_FILE_STRUCT *record);
    /// Takes the record out of the pipeline: a download leaves the disk as it was before, an
    /// installation ends in the deletion of the component.
    void CancelDownloadInstall(DN_FILE_STRUCT *record);

public slots:
    void AddTreeArchItems();
    void Timer500();
    void onConnect(QString url);
    void onBaseFilesDownloadFinished(FileDownloader *fd);
    void onInstallFilesDownloadFinished(FileDownloader *fd);
    void on_tree_wgt_itemSelectionChanged();
    void on_pb_pause_clicked();
    void on_pb_help_clicked();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    // Window, heartbeat, log (app/mainwindow.cpp)
    bool MayWork() const;
    void TellWhatHinders();

    // Tree (catalogue/mainwindow_ui.cpp)
    void InitTree();
    void PutPageIntoTabOrder();
    void AddRecordRows();
    void AddPackages();
    void UpdateRecords();

    // Connection sequence (catalogue/mainwindow_net.cpp)
    bool StartBaseDownload(const QString &url, bool head_only, const QString &file_path,
                           int timeout_ms, DN_FILE_STRUCT *probed);
    void StartFetch(const QString &resource, const QString &file_path);
    void StartProbe(int index);
    void AcceptFileList(const QByteArray &bytes);
    void AcceptDescriptions();
    void AcceptPackageList(const QByteArray &bytes);
    void AcceptProbe(FileDownloader *fd);
    void WatchDescriptions();
    void MakeRecords();
    void EndProbes();
    void ReturnToIdle();
    void FailConnecting(const QString &message);

    // Stages (pipeline/mainwindow_dnl_install.cpp)
    void ProcessDownload();
    void FollowDownload(DN_FILE_STRUCT *record);
    void StopIfEndless(FileDownloader *transfer, const QString &path, qint64 announced);
    void StartDownload(DN_FILE_STRUCT *record);
    void AcceptDownload(DN_FILE_STRUCT *record);
    void RejectDownload(DN_FILE_STRUCT *record, const QString &error);
    void ProcessInstall();
    void StartInstall();
    void FinishInstall();
    void ProcessPostInstall();
    void StartPostInstall();
    void FinishPostInstall();
    void ProcessDelete();
    void StartDelete();
    void FinishDelete();
    bool IsToBeUnpacked(const DN_FILE_STRUCT &record) const;
    bool IsBeingTransferred(const DN_FILE_STRUCT &record) const;
    bool IsAwaited(const DN_FILE_STRUCT &record) const;
    /// Deletes the record's files in the downloads directory, unless a queued record waits for
    /// them.
    void DeleteLeftovers(const DN_FILE_STRUCT &record);
    void DelNonRequiredFiles();

    // Status (pipeline/mainwindow_status.cpp)
    void UpdateStatus(DN_FILE_STRUCT *record, bool queue_found);
    void LookForDownload(DN_FILE_STRUCT *record, bool queue_found);
    bool MayComeFromDescriptions(const QString &path) const;
    void UpdateActivityList();
    void UpdateProgressBars();

    Ui_MainWindow *ui;
    SettingsDlg *settings_dlg = nullptr;
    QTreeWidgetItem *tree_item_connections = nullptr;
    QTreeWidgetItem *tree_item_core = nullptr;
    QTreeWidgetItem *tree_item_blocks = nullptr;
    QTreeWidgetItem *tree_item_bsps = nullptr;
    QTreeWidgetItem *tree_item_local = nullptr;
    FileDownloader *base_downloader = nullptr; // owned; null when no connection sequence runs
    QStringList fversions_lines;
    QStringList bsps_lines;
    QString repo_url;                      // without a trailing "/"
    QList<DN_FILE_STRUCT *> records;       // owned; of the repository, in its order
    QList<DN_FILE_STRUCT *> local_records; // owned; of the picked files, until the process ends
    QNetworkAccessManager network_manager;
    QProcess *install_process = nullptr; // each stage's extractor: owned, null at rest
    QProcess *delete_process = nullptr;
    QProcess *post_install_process = nullptr;
    QList<DN_FILE_STRUCT *> download_queue; // the queues own no record
    QList<DN_FILE_STRUCT *> install_queue;
    QList<DN_FILE_STRUCT *> delete_queue;
    QList<DN_FILE_STRUCT *> post_install_queue;
    DetachedExtractor descriptions_process; // unpacks the descriptions
    int probe_index = 0;                    // index in records of the one that is probed
    bool closed = false; // the user has confirmed the close: nothing may happen any more
    // Names in the downloads directory before the first archive of descriptions was unpacked there;
    // unset until then.
    std::optional<std::set<QString>> files_before_descriptions;
    InstallationLock *installation_lock = nullptr; // borrowed; null where no lock is taken
};
