#include "panels/record_table.h"

#include "app/mainwindow_helper.h"

#include <QTableWidget>

QString RecordTable::SizeSuffix(qint64 bytes)
{
    if (bytes <= 0)
        return QString();
    const auto text = [size = static_cast<double>(bytes)](double unit, const char *name) {
        return " [" + QString::number(size / unit, 'f', 1) + name;
    };
    if (bytes < 1000000)
        return text(1e3, " KB]");
    return bytes < 1000000000 ? text(1e6, " MB]") : text(1e9, " GB]");
}

void RecordTable::SetLabels(QTableWidget *table, const QStringList &labels)
{
    table->setColumnCount(labels.size());
    table->setHorizontalHeaderLabels(labels);
}

void RecordTable::AppendRow(QTableWidget *table, const QString &text, DN_FILE_STRUCT *record)
{
    auto *item = new QTableWidgetItem(text, RecordItem);
    item->setData(Qt::UserRole, QVariant::fromValue(static_cast<void *>(record)));
    const int row = table->rowCount();
    table->insertRow(row);
    table->setItem(row, 0, item);
    if (table->columnCount() > 1)
        table->setItem(row, 1, new QTableWidgetItem(QString(), StatusItem));
}

void RecordTable::AddRow(QTableWidget *table, const QString &label, DN_FILE_STRUCT *record)
{
    const QString text = record ? label + SizeSuffix(record->file_size) : label;
    if (record)
        record->display_name = text;
    AppendRow(table, text, record);
}

DN_FILE_STRUCT *RecordTable::Record(const QTableWidget *table, int row)
{
    const QTableWidgetItem *item = table->item(row, 0);
    if (!item || item->type() != RecordItem)
        return nullptr;
    return static_cast<DN_FILE_STRUCT *>(item->data(Qt::UserRole).value<void *>());
}

int RecordTable::MatchingRow(const QTableWidget *table, DN_FILE_STRUCT *record)
{
    for (int row = 0; row < table->rowCount(); ++row) {
        if (Record(table, row) == record)
            return row;
    }
    return -1;
}

void RecordTable::UpdateStatus(QTableWidget *table)
{
    for (int row = 0; row < table->rowCount(); ++row) {
        const DN_FILE_STRUCT *record = Record(table, row);
        QTableWidgetItem *status = table->item(row, 1); // null in a table of one column
        if (record && status && status->text() != record->status_text)
            status->setText(record->status_text);
    }
}

void RecordTable::SetColumnWidths(QTableWidget *table)
{
    const int width = table->width();
    const auto share = [width](double part) { return static_cast<int>(width * part); };
    if (table->columnCount() == 2) {
        table->setColumnWidth(0, share(0.6));
    } else if (table->columnCount() == 3) {
        table->setColumnWidth(0, share(0.4));
        table->setColumnWidth(1, share(0.3));
    }
}
