#pragma once

#include <QFrame>
#include <QTimer>
#include <QVarLengthArray>

class QTableWidgetItem;
class Ui_DownloadWgt;
struct DN_FILE_STRUCT;

/// The page of one tree item with components: a row for each file with its live status, the two
/// actions on the selected row, and the item's description.
///
/// The page borrows its records and holds no state of theirs; a press goes to MainWindow.
class DownloadWgt : public QFrame
{
    Q_OBJECT

public:
    DownloadWgt(const QStringList &labels, QFrame *parent);
    ~DownloadWgt() override;

    /// Appends a row and writes the record's display_name. A null \a record makes a row without
    /// size, status and actions.
    void AddTableRow(const QString &label, DN_FILE_STRUCT *record);
    DN_FILE_STRUCT *FS(int row); // null for a row without a record
    int MatchingRow(DN_FILE_STRUCT *record);
    int Rows();

    /// Shows a file of the unpacked descriptions. The page looks by itself for one that comes, or
    /// grows, later: a fast connection builds the tree before all are unpacked.
    void SetDescription(const QString &file_name);
    /// Shows a description with its fonts brought down to the size of the panel. One that is too
    /// long is replaced by a sentence that says so.
    void SetHtmlText(const QString &html);
    void SetPlainText(const QString &text);
    void UpdateButtons();

public slots:
    void onTimer500();
    void on_pb_install_clicked();
    void on_table_itemSelectionChanged();
    void on_table_itemClicked(QTableWidgetItem *item);
    void on_pb_delete_clicked();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    DN_FILE_STRUCT *SelectedRecord();
    void ReadDescription();

    Ui_DownloadWgt *ui;
    // The record of each row. A search through thousands of pages reads them here, as a table's
    // items lie scattered in memory.
    QVarLengthArray<DN_FILE_STRUCT *, 2> m_records;
    QString m_description;        // its file name; empty without one
    qint64 m_descriptionSize = 0; // bytes, when it was read
    QTimer timer; // runs while the page is shown; those of thousands would keep a processor busy
};
