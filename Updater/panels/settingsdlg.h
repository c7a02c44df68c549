#pragma once

#include <QList>
#include <QWidget>

class QTableWidgetItem;
class Ui_SettingsDlg;
struct DN_FILE_STRUCT;

/// The page of "Manage Connections": proxy choice, repository, the press that connects, and the
/// table of all records in work. Nothing of it is stored.
class SettingsDlg : public QWidget
{
    Q_OBJECT

public:
    explicit SettingsDlg(QWidget *parent);
    ~SettingsDlg() override;

    void AddRepo(const QString &url);
    /// Keeps the focus for the button while it is disabled.
    void EnableConnectPB(bool enable);
    void ShowConnectPB(bool show); // and the check box beside it
    bool IsAltLink();
    /// Makes the activity table show these records. Rows keep the order in which they came, and a
    /// new one gets its status with the next call.
    void UpdateActivity(const QList<DN_FILE_STRUCT *> &list);

signals:
    void Connect(QString url);

public slots:
    void on_cb_proxy_currentIndexChanged(int index);
    void on_table_activity_itemClicked(QTableWidgetItem *item);
    void on_pb_connect_clicked();

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    Ui_SettingsDlg *ui;
};
