#include "panels/settingsdlg.h"

#include "app/datasingleton.h"
#include "app/mainwindow.h"
#include "app/mainwindow_helper.h"
#include "panels/record_table.h"
#include "panels/widget_helper.h"
#include "transfer/filedownloader.h"
#include "ui_settingsdlg.h"

#include <QAbstractItemView>
#include <QSet>

namespace {

enum ProxyIndex { SystemProxy = 1, ManualProxy = 2 }; // places in cb_proxy

const int kFieldWidth = 8; // characters

} // namespace

SettingsDlg::SettingsDlg(QWidget *parent)
    : QWidget(parent)
    , ui(new Ui_SettingsDlg)
{
    ui->setupUi(this);
    SetUpTable(ui->table_repo);
    SetUpTable(ui->table_activity);
    connect(ui->table_activity, &QTableWidget::itemActivated, this,
            &SettingsDlg::on_table_activity_itemClicked);
    for (QLineEdit *field : findChildren<QLineEdit *>()) {
        SetWidthInCharacters(field, kFieldWidth);
        connect(field, &QLineEdit::returnPressed, ui->pb_connect, &QPushButton::click);
    }
    ui->cb_proxy->setCurrentIndex(SystemProxy);
    ui->cb_proxy->view()->setAccessibleName(ui->label->text());
}

SettingsDlg::~SettingsDlg()
{
    delete ui;
}

void SettingsDlg::AddRepo(const QString &url)
{
    const int row = ui->table_repo->rowCount();
    ui->table_repo->insertRow(row);
    ui->table_repo->setItem(row, 0, new QTableWidgetItem(url));
}

void SettingsDlg::EnableConnectPB(bool enable)
{
    SetEnabled(ui->pb_connect, enable, ui->table_repo);
    if (enable && window()->focusWidget() == ui->table_repo)
        ui->pb_connect->setFocus();
}

void SettingsDlg::ShowConnectPB(bool show)
{
    ui->pb_connect->setVisible(show);
    ui->chk_alt_link->setVisible(show);
}

bool SettingsDlg::IsAltLink()
{
    return ui->chk_alt_link->isChecked();
}

void SettingsDlg::UpdateActivity(const QList<DN_FILE_STRUCT *> &list)
{
    QTableWidget *table = ui->table_activity;
    QSet<DN_FILE_STRUCT *> missing = list.toSet();
    for (int end = table->rowCount(); end > 0;) { // rows side by side go at once
        int row = end;
        while (row > 0 && !missing.remove(RecordTable::Record(table, row - 1)))
            --row;
        if (row < end)
            table->model()->removeRows(row, end - row);
        end = row - 1;
    }
    RecordTable::UpdateStatus(table);
    for (DN_FILE_STRUCT *record : list) {
        if (missing.remove(record))
            RecordTable::AppendRow(table, record->display_name, record);
    }
}

void SettingsDlg::on_cb_proxy_currentIndexChanged(int index)
{
    for (QLineEdit *field : findChildren<QLineEdit *>())
        field->setEnabled(index == ManualProxy);
}

void SettingsDlg::on_table_activity_itemClicked(QTableWidgetItem * /*item*/)
{
    const int row = ui->table_activity->currentRow();
    if (row >= 0)
        DataSingleton::Inst()->Window()->SetTreeItemVisible(
            RecordTable::Record(ui->table_activity, row));
}

void SettingsDlg::on_pb_connect_clicked()
{
    if (ui->table_repo->rowCount() == 0)
        return;
    EnableConnectPB(false);
    FileDownloader::SetApplicationProxy(ui->cb_proxy->currentIndex(), ui->eb_proxy_addr->text(),
                                        ui->eb_proxy_port->text(), ui->eb_proxy_usr->text(),
                                        ui->eb_proxy_pwd->text());
    emit Connect(ui->table_repo->item(0, 0)->text());
}

void SettingsDlg::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    ui->table_repo->setColumnWidth(0, static_cast<int>(width() * 0.7));
    ui->table_activity->setColumnWidth(0, static_cast<int>(width() * 0.6));
}
