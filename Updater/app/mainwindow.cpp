#include "app/mainwindow.h"

#include "app/datasingleton.h"
#include "app/installation_lock.h"
#include "app/mainwindow_helper.h"
#include "app/root_directory.h"
#include "catalogue/endpoints.h"
#include "common/desktop.h"
#include "panels/helpwnd.h"
#include "panels/settingsdlg.h"
#include "panels/widget_helper.h"
#include "transfer/filedownloader.h"
#include "ui_mainwindow.h"

#include <QCloseEvent>
#include <QProcess>
#include <QScrollBar>
#include <QSettings>
#include <QTextBlock>
#include <QTime>
#include <QTreeWidgetItemIterator>

namespace {

const int kHeartbeat = 500; // ms
const int kBarWidth = 8;    // characters
const int kLogHeight = 3;   // lines, which hold what is said at the start

const char kCloseWhileInstalling[] =
    "Some components are installing or under deletion. It is recommended not to close the "
    "application at this point of time. Press 'Yes' if you still needs to close the application.";
const char kCloseWhileDownloading[] =
    "Some components are downloading. Press 'Yes' to close the application anyway.";

QColor LevelColor(int level)
{
    switch (level) {
    case LogLevel::Information:
        return Qt::blue;
    case LogLevel::Warning:
        return {255, 100, 0, 255};
    case LogLevel::Error:
        return Qt::red;
    default:
        return Qt::black;
    }
}

/// The colours of the lines can be read on white alone, which a dark palette does not have.
void PutOnWhite(QWidget *log)
{
    QPalette palette;
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::Text, Qt::black);
    log->setPalette(palette);
}

/// Keeps the last line of the log in view, where it was, when the window's height changes.
void FollowEnd(QScrollBar *bar)
{
    QObject::connect(bar, &QScrollBar::rangeChanged, bar, [bar, end = 0](int, int new_end) mutable {
        if (bar->value() >= end)
            bar->setValue(new_end);
        end = new_end;
    });
}

} // namespace

/// The library is linked statically, so nothing else pulls its resources in. The macro must not
/// stand in a namespace.
static void InitResources()
{
    Q_INIT_RESOURCE(updater);
}

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent)
    , ui(new Ui_MainWindow)
{
    InitResources();
    // Qt's file dialogue would store there in which folders the user has been.
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, "/dev/null");
    ui->setupUi(this);
    setWindowTitle("ZEFT Updater");
    setWindowIcon(QIcon(":/icon-logo"));
    ui->pbar_dl->setValue(0);
    ui->pbar_inst->setValue(0);
    ui->pb_pause->setEnabled(false);
    for (QProgressBar *bar : {ui->pbar_dl, ui->pbar_inst})
        SetWidthInCharacters(bar, kBarWidth);
    SetHeightInLines(ui->msgs, kLogHeight);
    PutOnWhite(ui->msgs);
    FollowEnd(ui->msgs->verticalScrollBar());
    InitTree();
}

MainWindow::~MainWindow()
{
    for (QTreeWidgetItemIterator item(ui->tree_wgt); *item; ++item)
        delete (*item)->data(0, Qt::UserRole).value<QObject *>(); // a hidden page has no parent
    // All transfers, as the network manager goes before the children do. Their records may be gone.
    qDeleteAll(findChildren<FileDownloader *>(QString(), Qt::FindDirectChildrenOnly));
    delete ui;
}

void MainWindow::Initialize()
{
    DelNonRequiredFiles();
    settings_dlg->AddRepo(PrimaryRepositoryUrl());

    auto *heartbeat = new QTimer; // beats until the process ends
    connect(heartbeat, &QTimer::timeout, this, &MainWindow::Timer500);
    heartbeat->start(kHeartbeat);

    FileDownloader::SetSSLDefaultConfiguration(
        QSsl::AnyProtocol, VerifiesRepository() ? QSslSocket::VerifyPeer : QSslSocket::VerifyNone);
    connect(settings_dlg, &SettingsDlg::Connect, this, &MainWindow::onConnect);

    AddMsg("Program started. Adjust proxy settings and press 'Connect' button from 'Manage "
           "Connections' to proceed.",
           LogLevel::Information);
    AddMsg(QString("Downloads directory %1").arg(DataSingleton::Inst()->GetDownloadsDir()),
           LogLevel::Information);
    TellWhatHinders();
}

void MainWindow::TellWhatHinders()
{
    if (!MayWork()) {
        AddMsg("Another updater works on this installation and must be closed first. Until then "
               "nothing is downloaded, installed or deleted here.",
               LogLevel::Warning);
    }
    const DataSingleton *context = DataSingleton::Inst();
    for (const QString &directory : {context->InstalledPath(), context->GetDownloadsDir()}) {
        const QString fault = WriteFault(directory);
        if (fault.isEmpty())
            continue;
        AddMsg(QString("Directory %1/ can't be written: %2.").arg(directory, fault),
               LogLevel::Error);
        return;
    }
}

bool MainWindow::MayWork() const
{
    return !installation_lock || installation_lock->Take();
}

void MainWindow::Timer500()
{
    if (closed)
        return;
    for (const auto *list : {&records, &local_records}) {
        for (DN_FILE_STRUCT *record : *list)
            record->status_text = StatusText(record->status, record->progress);
    }
    WatchDescriptions();
    if (MayWork()) {
        ProcessDownload();
        ProcessInstall();
        ProcessPostInstall();
        ProcessDelete();
    }
    UpdateActivityList();
    UpdateProgressBars();
}

void MainWindow::AddMsg(const QString &text, int level)
{
    if (text.isEmpty())
        return;
    const QTextDocument *document = ui->msgs->document();
    const int end_before = document->characterCount() - 1;
    ui->msgs->appendPlainText("> " + QTime::currentTime().toString("hh:mm:ss:zzz") + ": " + text);

    QTextCharFormat format;
    format.setForeground(QBrush(LevelColor(level), Qt::SolidPattern));
    QTextCursor cursor = ui->msgs->textCursor();
    // A full log has dropped its oldest line, and the text has moved up.
    cursor.setPosition(qMin(end_before, document->lastBlock().position()));
    cursor.setPosition(document->characterCount() - 1, QTextCursor::KeepAnchor);
    cursor.setCharFormat(format);
}

void MainWindow::on_pb_help_clicked()
{
    HelpWnd::StartDocumentation(DataSingleton::Inst()->DeployPath(), 4, "topics/Updating.htm");
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    if ((install_process || post_install_process || delete_process)
        && !IsConfirmed(this, kCloseWhileInstalling)) {
        event->ignore();
        return;
    }
    for (const DN_FILE_STRUCT *record : qAsConst(records)) {
        if (IsDownloadWork(record->status) && !IsConfirmed(this, kCloseWhileDownloading)) {
            event->ignore();
            return;
        }
    }
    for (QProcess *process : {install_process, post_install_process, delete_process}) {
        if (process)
            process->kill();
    }
    closed = true;
    hide(); // deleting thousands of descriptions takes its time
    DelNonRequiredFiles();
    QWidget::closeEvent(event);
}

void MainWindow::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
}
