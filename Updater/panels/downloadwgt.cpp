#include "panels/downloadwgt.h"

#include "Repository/description.h"
#include "Repository/manifests.h"
#include "app/datasingleton.h"
#include "app/mainwindow.h"
#include "app/mainwindow_helper.h"
#include "catalogue/descriptions.h"
#include "common/desktop.h"
#include "panels/record_table.h"
#include "panels/widget_helper.h"
#include "ui_downloadwgt.h"

namespace {

const char kCancelInstalling[] =
    "The selected component is currently installing. It is recommended not to cancel at this "
    "stage. Press 'Yes' if you still needs to cancel the installation.";
const char kTooLarge[] = "The description is too large to be shown.";

} // namespace

DownloadWgt::DownloadWgt(const QStringList &labels, QFrame *parent)
    : QFrame(parent)
    , ui(new Ui_DownloadWgt)
{
    ui->setupUi(this);
    SetUpTable(ui->table);
    RecordTable::SetLabels(ui->table, labels);
    // The buttons act on the current row, and the Tab key makes one current without selecting it.
    connect(ui->table, &QTableWidget::currentCellChanged, ui->table, &QTableWidget::selectRow);
    connect(&timer, &QTimer::timeout, this, &DownloadWgt::onTimer500);
    timer.setInterval(500);
}

DownloadWgt::~DownloadWgt()
{
    delete ui;
}

void DownloadWgt::AddTableRow(const QString &label, DN_FILE_STRUCT *record)
{
    RecordTable::AddRow(ui->table, label, record);
    m_records.append(record);
}

DN_FILE_STRUCT *DownloadWgt::FS(int row)
{
    return RecordTable::Record(ui->table, row);
}

int DownloadWgt::MatchingRow(DN_FILE_STRUCT *record)
{
    return m_records.indexOf(record);
}

int DownloadWgt::Rows()
{
    return ui->table->rowCount();
}

void DownloadWgt::SetDescription(const QString &file_name)
{
    m_description = file_name;
    ReadDescription();
}

/// Reads the file if it has come or changed since. The text of one that is gone stays.
void DownloadWgt::ReadDescription()
{
    const qint64 size = DescriptionSize(m_description);
    if (size == 0 || size == m_descriptionSize)
        return;
    m_descriptionSize = size;
    SetHtmlText(size > kMostDescriptionBytes ? kTooLarge
                                             : TextUpToNul(DescriptionData(m_description)));
}

void DownloadWgt::SetHtmlText(const QString &html)
{
    QString text = html;
    if (!CutForLayout(text))
        text = kTooLarge;
    text.replace("10.0pt", "8.0pt"); // before the next one, or 12 points would end at 8
    text.replace("12.0pt", "10.0pt");
    text.replace("150%", "100%");
    text.replace("115%", "100%");
    ui->text->ShowText(text);
}

void DownloadWgt::SetPlainText(const QString &text)
{
    ui->text->setPlainText(text);
}

DN_FILE_STRUCT *DownloadWgt::SelectedRecord()
{
    return FS(ui->table->currentRow());
}

void DownloadWgt::UpdateButtons()
{
    const DN_FILE_STRUCT *record = SelectedRecord();
    const int status = record ? record->status : RecordStatus::NotInstalled;
    const bool deleting = status == RecordStatus::Deleting;
    const bool can_cancel = IsInWork(status) && !deleting;
    SetButtonText(ui->pb_install, can_cancel ? "Cancel" : "Install");
    SetEnabled(ui->pb_install, !deleting, ui->table);
    const bool can_delete =
        status != RecordStatus::Installing && status != RecordStatus::NotInstalled && !deleting;
    SetEnabled(ui->pb_delete, can_delete, ui->table);
}

void DownloadWgt::onTimer500()
{
    if (!isVisible())
        return;
    RecordTable::UpdateStatus(ui->table);
    UpdateButtons();
    ReadDescription();
    ui->text->ShowLatePictures();
}

void DownloadWgt::on_pb_install_clicked()
{
    DN_FILE_STRUCT *record = SelectedRecord();
    if (!record)
        return;
    MainWindow *window = DataSingleton::Inst()->Window();
    if (ui->pb_install->text().contains("Install"))
        window->AddToDownload(record);
    else if (record->status != RecordStatus::Installing || IsConfirmed(this, kCancelInstalling))
        window->CancelDownloadInstall(record);
    // The text stays until the next tick, so that a double click doesn't install and cancel.
}

void DownloadWgt::on_table_itemSelectionChanged()
{
    UpdateButtons();
}

void DownloadWgt::on_table_itemClicked(QTableWidgetItem * /*item*/)
{
    UpdateButtons();
}

void DownloadWgt::on_pb_delete_clicked()
{
    DN_FILE_STRUCT *record = SelectedRecord();
    // The button may be half a second behind a stage that has just begun.
    if (!record || record->status == RecordStatus::Installing)
        return;
    MainWindow *window = DataSingleton::Inst()->Window();
    window->StopDownload(record); // or it would write into a file that the deletion removes
    record->status = RecordStatus::Deleting;
    window->AddToDelete(record);
    UpdateButtons();
}

void DownloadWgt::resizeEvent(QResizeEvent *event)
{
    QFrame::resizeEvent(event);
    RecordTable::SetColumnWidths(ui->table);
    onTimer500();
}

void DownloadWgt::showEvent(QShowEvent *event)
{
    QFrame::showEvent(event);
    onTimer500();
    timer.start();
}

void DownloadWgt::hideEvent(QHideEvent *event)
{
    timer.stop();
    QFrame::hideEvent(event);
}
