#pragma once

#include <QTimer>
#include <QWidget>

class Ui_LocalDownloadDlg;
struct DN_FILE_STRUCT;

/// The page of "Local Update": installs update files that the user has on disk, connected or not.
/// Rows are only ever added; the records are MainWindow's.
class LocalDownloadDlg : public QWidget
{
    Q_OBJECT

public:
    LocalDownloadDlg(const QStringList &labels, QWidget *parent);
    ~LocalDownloadDlg() override;

    void AddTableRow(const QString &label, DN_FILE_STRUCT *record); // as in DownloadWgt
    DN_FILE_STRUCT *FS(int row);
    int MatchingRow(DN_FILE_STRUCT *record);
    int Rows();

public slots:
    void onTimer500();
    void on_pb_add_clicked();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    bool IsWanted(const QString &path);

    Ui_LocalDownloadDlg *ui;
    QTimer timer;      // runs while the page is shown
    QString m_lastDir; // of the last pick; empty before the first
};
