// The tree: what a repository offers on the left side, the current item's page on the right.

#include "app/mainwindow.h"

#include "Repository/manifests.h"
#include "Repository/names.h"
#include "Repository/platform.h"
#include "app/datasingleton.h"
#include "app/mainwindow_helper.h"
#include "catalogue/records.h"
#include "common/common_helper.h"
#include "panels/downloadwgt.h"
#include "panels/localdownloaddlg.h"
#include "panels/settingsdlg.h"
#include "panels/widget_helper.h"
#include "ui_mainwindow.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QFileInfo>
#include <QHash>
#include <QTimer>

namespace {

enum ItemType {
    ConnectionsItem = 256,
    CoreItem = 512,
    BlocksItem = 768,
    PackagesItem = 1024,
    ClassItem = 1280,
    PackageItem = 1536,
    LocalItem = 1792
};

const int kTreeWidth = 32;     // characters
const int kDialogueWait = 100; // ms

// Events are processed so often while the tree is built. Each time, Qt lays out all packages of the
// open classes anew; after each package, that would take longer than the packages themselves.
const int kEventsPeriod = 20; // ms

template <typename Parent>
QTreeWidgetItem *MakeItem(Parent *parent, const QString &text, int type,
                          const QString &tool_tip = QString())
{
    auto *item = new QTreeWidgetItem(parent, QStringList(text), type);
    if (!tool_tip.isEmpty()) {
        item->setToolTip(0, tool_tip);
        item->setData(0, Qt::AccessibleDescriptionRole, tool_tip);
    }
    return item;
}

template <typename Page> Page *StorePage(QTreeWidgetItem *item, Page *page)
{
    page->setVisible(false);
    item->setData(0, Qt::UserRole, QVariant::fromValue(page));
    return page;
}

template <typename Page> Page *PageOf(const QTreeWidgetItem *item)
{
    return qobject_cast<Page *>(item->data(0, Qt::UserRole).value<QObject *>());
}

QWidget *PageByType(const QTreeWidgetItem *item)
{
    switch (item->type()) {
    case ConnectionsItem:
        return PageOf<SettingsDlg>(item);
    case CoreItem:
    case BlocksItem:
    case PackageItem:
        return PageOf<DownloadWgt>(item);
    case LocalItem:
        return PageOf<LocalDownloadDlg>(item);
    default:
        return nullptr;
    }
}

bool ShowsRecord(const QTreeWidgetItem *item, DN_FILE_STRUCT *record)
{
    return PageOf<DownloadWgt>(item)->MatchingRow(record) >= 0;
}

void AddPackageRow(DownloadWgt *page, const QString &stem, DN_FILE_STRUCT *record)
{
    if (!stem.isEmpty())
        page->AddTableRow(record ? stem : "Local Install (eg. " + stem + ")", record);
}

/// True if the component's directory, which is deleted before the file is unpacked, is the file or
/// holds it or, where that is a link, what it leads to.
bool GoesWithComponent(const QString &path, const DN_FILE_STRUCT &record)
{
    const auto real = [](const QString &name) { return QFileInfo(name).canonicalFilePath() + "/"; };
    const QString dir = ComponentDir(record);
    return QFileInfo::exists(dir)
           && (real(path).startsWith(real(dir)) || real(record.local_dir).startsWith(real(dir)));
}

} // namespace

void MainWindow::InitTree()
{
    QTreeWidget *tree = ui->tree_wgt;
    ShowCutTexts(tree);
    SetWidthInCharacters(tree, kTreeWidth);
    tree_item_connections = MakeItem(tree, "Manage Connections", ConnectionsItem);
    settings_dlg = StorePage(tree_item_connections, new SettingsDlg(this));
    tree->setCurrentItem(tree_item_connections);

    tree_item_bsps =
        MakeItem(tree, "Update BSPs", PackagesItem, "Update ZEFT board support package files");
    for (const QString &name : ClassNames())
        MakeItem(tree_item_bsps, name, ClassItem);

    tree_item_blocks = MakeItem(tree, "Update Blocks", BlocksItem, "Update ZEFT block database");
    StorePage(tree_item_blocks, new DownloadWgt({"ZEFT Block Database Files", "Status"}, nullptr));

    tree_item_core = MakeItem(tree, "Update Core", CoreItem, "Update ZEFT core files");
    StorePage(tree_item_core, new DownloadWgt({"ZEFT Core Files", "Status"}, nullptr));

    tree_item_local =
        MakeItem(tree, "Local Update", LocalItem, "Update from manually downloaded files");
    StorePage(tree_item_local, new LocalDownloadDlg({"Description", "Status"}, nullptr));

    // Every page gets the room of the largest, so that tree and log keep their size.
    for (const auto *item : {tree_item_connections, tree_item_core, tree_item_local}) {
        const QSize room = PageByType(item)->minimumSizeHint();
        ui->widget->setMinimumSize(ui->widget->minimumSize().expandedTo(room));
    }
}

void MainWindow::on_tree_wgt_itemSelectionChanged()
{
    const QTreeWidgetItem *item = ui->tree_wgt->currentItem();
    QWidget *page = item ? PageByType(item) : nullptr;
    if (page && ui->ly_user->indexOf(page) >= 0)
        return; // to show it again would take the focus out of it
    if (QLayoutItem *shown = ui->ly_user->takeAt(0)) {
        shown->widget()->hide();
        shown->widget()->setParent(nullptr);
        delete shown;
    }
    if (!page)
        return;
    page->setParent(this);
    ui->ly_user->addWidget(page);
    page->show();
    PutPageIntoTabOrder();
}

/// Qt puts a new page at the end of the tab order; it belongs in front of the log and the buttons.
void MainWindow::PutPageIntoTabOrder()
{
    QWidget *last = previousInFocusChain();
    while (last->focusPolicy() == Qt::NoFocus)
        last = last->previousInFocusChain();
    for (QWidget *next : std::initializer_list<QWidget *>{ui->msgs, ui->pb_help, ui->pb_pause}) {
        setTabOrder(last, next);
        last = next;
    }
}

void MainWindow::AddTreeArchItems()
{
    // A dialogue's answer would wait until the whole tree is built.
    if (QApplication::activeModalWidget()) {
        QTimer::singleShot(kDialogueWait, this, &MainWindow::AddTreeArchItems);
        return;
    }
    // Versions and targets first: events are processed below, and a press of "Uninstall" needs
    // them.
    for (DN_FILE_STRUCT *record : qAsConst(records)) {
        record->version = VersionFromTimeStamp(record->time_stamp);
        SetInstallTarget(*record, DataSingleton::Inst()->InstalledPath());
    }
    AddRecordRows();
    AddPackages();
    UpdateRecords();
    if (closed)
        return;

    QGuiApplication::restoreOverrideCursor();
    if (settings_dlg->isAncestorOf(focusWidget()))
        ui->tree_wgt->setFocus();
    settings_dlg->ShowConnectPB(false);
    ui->pb_pause->setEnabled(true);
    AddMsg("Connected. Select individual items in the left pane to install or update.",
           LogLevel::Information);
}

void MainWindow::AddRecordRows()
{
    const auto add_rows = [this](QTreeWidgetItem *item, const char *directory) {
        auto *page = PageOf<DownloadWgt>(item);
        for (DN_FILE_STRUCT *record : qAsConst(records)) {
            if (record->remote_dir.contains(directory))
                page->AddTableRow(record->file_name, record);
        }
    };
    add_rows(tree_item_blocks, kBlocksDirectory);
    add_rows(tree_item_core, kCoreDirectory);
}

void MainWindow::AddPackages()
{
    QHash<QString, DN_FILE_STRUCT *> by_stem; // of equal stems the last record counts
    for (DN_FILE_STRUCT *record : qAsConst(records))
        by_stem.insert(ArchiveStem(record->file_name), record);

    QDeadlineTimer next_events; // has expired
    for (const QString &line : qAsConst(bsps_lines)) {
        if (closed)
            return;
        PackageLine package;
        if (!ReadPackageLine(line, package) || !IsPlatformSupported(package.platform))
            continue;
        QTreeWidgetItem *class_item = tree_item_bsps->child(package.class_index);
        if (!class_item)
            continue;
        QTreeWidgetItem *item = MakeItem(class_item, package.title, PackageItem);
        auto *page = new DownloadWgt({"ZEFT BSP Files", "Status"}, nullptr);
        const QString &first = package.first_stem;
        const QString &second = package.second_stem;
        AddPackageRow(page, first, by_stem.value(first));
        // A record shows once on a page, so equal stems leave nothing for the second row.
        AddPackageRow(page, second, second == first ? nullptr : by_stem.value(second));
        page->SetDescription(package.description);
        StorePage(item, page);
        if (next_events.hasExpired()) {
            QCoreApplication::processEvents(); // keys and clicks too
            next_events.setRemainingTime(kEventsPeriod);
        }
    }
}

void MainWindow::UpdateRecords()
{
    for (DN_FILE_STRUCT *record : qAsConst(records)) {
        if (closed)
            return;
        if (record->status == RecordStatus::Unknown) // the user may have been quicker
            UpdateStatus(record, true);
        QCoreApplication::processEvents();
    }
}

void MainWindow::SetTreeItemVisible(DN_FILE_STRUCT *record)
{
    QList<QTreeWidgetItem *> items = {tree_item_blocks, tree_item_core};
    for (int c = 0; c < tree_item_bsps->childCount(); ++c) {
        const QTreeWidgetItem *class_item = tree_item_bsps->child(c);
        for (int i = 0; i < class_item->childCount(); ++i)
            items.append(class_item->child(i));
    }
    for (QTreeWidgetItem *item : qAsConst(items)) {
        if (ShowsRecord(item, record)) {
            ui->tree_wgt->scrollToItem(item, QAbstractItemView::EnsureVisible);
            item->setSelected(true);
            return;
        }
    }
}

void MainWindow::AddToLocalInstall(const QString &path)
{
    auto record = std::make_unique<DN_FILE_STRUCT>();
    record->file_name = ExtractFileName(path);
    record->remote_dir = ExtractFilePath(path);
    record->local_dir = record->remote_dir;
    record->time_stamp = GetFileModifiedDateTime(path, false, true, false);
    record->file_size = GetFileSizeInBytes(path);
    SetInstallTarget(*record, DataSingleton::Inst()->InstalledPath());
    // The old component is deleted first, and a file that can't be read would not replace it.
    const QFileInfo file(path);
    const bool unreadable = file.exists() && (!file.isFile() || !file.isReadable());
    if (!IsInstallable(record->file_name) || unreadable || GoesWithComponent(path, *record)) {
        AddMsg("File can't be installed safely: " + path, LogLevel::Error);
        return;
    }
    local_records.append(record.get());
    PageOf<LocalDownloadDlg>(tree_item_local)->AddTableRow(record->file_name, record.get());
    AddToDelete(record.get());
    AddToInstall(record.release());
}
