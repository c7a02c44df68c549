#include "panels/localdownloaddlg.h"

#include "app/datasingleton.h"
#include "app/mainwindow.h"
#include "app/mainwindow_helper.h"
#include "common/common_helper.h"
#include "common/desktop.h"
#include "panels/record_table.h"
#include "panels/widget_helper.h"
#include "ui_localdownloaddlg.h"

#include <QFileDialog>

LocalDownloadDlg::LocalDownloadDlg(const QStringList &labels, QWidget *parent)
    : QWidget(parent)
    , ui(new Ui_LocalDownloadDlg)
{
    ui->setupUi(this);
    SetUpTable(ui->table);
    RecordTable::SetLabels(ui->table, labels);
    connect(&timer, &QTimer::timeout, this, &LocalDownloadDlg::onTimer500);
    timer.setInterval(500);
}

LocalDownloadDlg::~LocalDownloadDlg()
{
    delete ui;
}

void LocalDownloadDlg::AddTableRow(const QString &label, DN_FILE_STRUCT *record)
{
    RecordTable::AddRow(ui->table, label, record);
}

DN_FILE_STRUCT *LocalDownloadDlg::FS(int row)
{
    return RecordTable::Record(ui->table, row);
}

int LocalDownloadDlg::MatchingRow(DN_FILE_STRUCT *record)
{
    return RecordTable::MatchingRow(ui->table, record);
}

int LocalDownloadDlg::Rows()
{
    return ui->table->rowCount();
}

void LocalDownloadDlg::onTimer500()
{
    if (isVisible())
        RecordTable::UpdateStatus(ui->table);
}

void LocalDownloadDlg::on_pb_add_clicked()
{
    if (m_lastDir.isEmpty())
        m_lastDir = DataSingleton::Inst()->InstalledPath();
    const QStringList paths = QFileDialog::getOpenFileNames(
        this, "Select Files", m_lastDir, "ZEFT update files (*.hlib.* *.htc* *.cab)");
    if (paths.isEmpty())
        return;
    m_lastDir = ExtractFilePath(paths.first());
    for (const QString &path : paths) {
        if (IsWanted(path))
            DataSingleton::Inst()->Window()->AddToLocalInstall(path);
    }
}

/// Whether a picked file gets a row. A new file does, and one that was installed in this session if
/// the user agrees. One that is in work or has failed has its row already.
bool LocalDownloadDlg::IsWanted(const QString &path)
{
    const QString name = ExtractFileName(path);
    int row = 0;
    while (row < Rows() && !ui->table->item(row, 0)->text().contains(name))
        ++row;
    if (row == Rows())
        return true;
    const DN_FILE_STRUCT *record = FS(row);
    if (!record || record->status != RecordStatus::Installed)
        return false;
    const QString question = QString("The selected component '%1' is already installed during this "
                                     "session. Press 'Yes' to install it again.")
                                 .arg(path);
    return IsConfirmed(this, question);
}

void LocalDownloadDlg::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    RecordTable::SetColumnWidths(ui->table);
    onTimer500();
}

void LocalDownloadDlg::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    onTimer500();
    timer.start();
}

void LocalDownloadDlg::hideEvent(QHideEvent *event)
{
    timer.stop();
    QWidget::hideEvent(event);
}
