#include "panels/downloadwgt.h"
#include "support/installation.h"
#include "support/test.h"

class TestTree : public QuietTest
{
    Q_OBJECT

private slots:
    void SwitchesPages();
    void BuildsPackages();
    void ShowsDescriptions();
    void SortsRecordsAndTellsTheirStatus();
    void ShowsWhereARecordLives();
};

namespace {

QTreeWidgetItem *Top(const Installation &installation, int place)
{
    return installation.Find<QTreeWidget>("tree_wgt")->topLevelItem(place);
}

QWidget *PageOf(const QTreeWidgetItem *item)
{
    return qobject_cast<QWidget *>(item->data(0, Qt::UserRole).value<QObject *>());
}

QStringList Labels(const QTreeWidgetItem *item)
{
    QStringList labels;
    auto *page = qobject_cast<DownloadWgt *>(PageOf(item));
    for (int row = 0; row < page->Rows(); ++row)
        labels.append(page->findChild<QTableWidget *>("table")->item(row, 0)->text());
    return labels;
}

/// Builds the tree as at the end of a connection.
void Build(const Installation &installation, const QStringList &file_list,
           const QStringList &package_list)
{
    MainWindow *window = installation.Window();
    window->fversions_lines = file_list;
    window->bsps_lines = package_list;
    window->MakeRecords();
    window->AddTreeArchItems();
}

} // namespace

void TestTree::SwitchesPages()
{
    const Installation installation;
    auto *tree = installation.Find<QTreeWidget>("tree_wgt");
    const auto shown = [&] {
        QString places;
        for (int i = 0; i < tree->topLevelItemCount(); ++i) {
            const QWidget *page = PageOf(Top(installation, i));
            if (page && page->isVisible() && page->window() == installation.Window())
                places += QString::number(i);
        }
        return places;
    };
    QCOMPARE(shown(), QString("0"));
    for (const int place : {3, 1, 2, 4, 0}) {
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, Qt::NoModifier,
                          tree->visualItemRect(Top(installation, place)).center());
        QCOMPARE(shown(), place == 1 ? QString() : QString::number(place));
    }
}

void TestTree::BuildsPackages()
{
    const Installation installation;
    Build(installation,
          {"8#zeft_bsp_a.hlib.zip#bsp#1#1000#0", "8#zeft_bsp_b.htc.tar.xz#bsp#1#0#0",
           "8#zeft_bsp_a.hlib.tar.gz#bsp#1#2000#0"},
          {"8#0#Both##zeft_bsp_a.hlib#zeft_bsp_b.htc#", "8#0#Equal##zeft_bsp_b.htc#zeft_bsp_b.htc#",
           "10#7#Other##nope#zeft_bsp_a.hlib#", "11#7#None####", "12#x#NoNumber##zeft_bsp_a##",
           "8#8#Outside##a#b#", "8#-1#Before##a#b#", "9#0#Foreign##a#b#", "8#0#Six##a#b",
           "8#0#Eight##a#b##"});
    QStringList packages;
    for (QTreeWidgetItemIterator it(Top(installation, 1)->child(0)); *it; ++it) {
        if ((*it)->parent() && PageOf(*it)) // neither a top nor a class
            packages.append((*it)->parent()->text(0) + "/" + (*it)->text(0) + ": "
                            + Labels(*it).join(", "));
    }
    QCOMPARE(packages,
             QStringList({"8bit/16bit uC/Both: zeft_bsp_a.hlib [2.0 KB], zeft_bsp_b.htc",
                          "8bit/16bit uC/Equal: zeft_bsp_b.htc, Local Install (eg. zeft_bsp_b.htc)",
                          "8bit/16bit uC/NoNumber: Local Install (eg. zeft_bsp_a)",
                          "Native/Other: Local Install (eg. nope), zeft_bsp_a.hlib [2.0 KB]",
                          "Native/None: "}));

    MainWindow *window = installation.Window();
    auto *tree = installation.Find<QTreeWidget>("tree_wgt");
    tree->viewport()->setMouseTracking(true);
    QString seen;
    QObject::connect(tree, &QTreeWidget::itemEntered, window, [&] { // between two packages
        const DN_FILE_STRUCT *record = window->records.last();
        seen = record->version + ComponentDir(*record);
        window->close();
    });
    QCursor::setPos(
        tree->viewport()->mapToGlobal(tree->visualItemRect(Top(installation, 3)).center()));
    Build(installation, {"8#last.zip#bsp#2024-05-01T1#1#0"}, {"8#4#First####", "8#4#Second####"});
    QCOMPARE(Top(installation, 1)->child(4)->childCount(), 1);
    QCOMPARE(seen, "2024-05-01" + installation.Path("last"));
    QCOMPARE(window->records.last()->status, int{RecordStatus::Unknown});
}

void TestTree::ShowsDescriptions()
{
    const Installation installation;
    WriteFile(installation.Download("secret.htm"), "secret");
    WriteFile(installation.Download("hwd_doc/a.htm"), "half");
    WriteFile(installation.Download("hwd_doc/long.htm"), QByteArray(2000001, 'x'));
    WriteFile(installation.Download("hwd_doc/huge.htm"), "x");
    QFile::resize(installation.Download("hwd_doc/huge.htm"), 10000001);
    QFile::link("../secret.htm", installation.Download("hwd_doc/link.htm"));
    const QStringList names = {"a.htm",    "none.htm", "",        "../secret.htm",
                               "link.htm", "long.htm", "huge.htm"};
    QStringList lines;
    for (const QString &name : names)
        lines.append("8#0#Board####" + name);
    Build(installation, {}, lines);
    const auto text = [&](int place) {
        QTreeWidgetItem *item = Top(installation, 1)->child(0)->child(place);
        item->treeWidget()->setCurrentItem(item);
        return PageOf(item)->findChild<QTextBrowser *>("text")->toPlainText().remove(
            QChar::ObjectReplacementCharacter);
    };
    QCOMPARE(text(0), QString("half"));
    for (int place = 1; place < names.size(); ++place)
        QCOMPARE(text(place), place < 5 ? QString() : "The description is too large to be shown.");
    // What is unpacked later shows as soon as the package is selected.
    WriteFile(
        installation.Download("hwd_doc/a.htm"),
        QByteArray("<p style='font-size:12.0pt'>B\xC3\xB6<img src='x.png'>ard</p>\0more", 61));
    QCOMPARE(text(0), QString("B%1ard").arg(QChar(0xF6)));
    auto *page = qobject_cast<DownloadWgt *>(PageOf(Top(installation, 1)->child(0)->child(0)));
    const QSignalSpy parsed(page->findChild<QTextBrowser *>("text"), &QTextBrowser::textChanged);
    page->onTimer500();
    QVERIFY(page->isVisible() && parsed.isEmpty());
}

void TestTree::SortsRecordsAndTellsTheirStatus()
{
    Installation installation(false); // no beat goes on with what is queued
    WriteFile(installation.Path("same/version.info"), "build:2024.05.01");
    WriteFile(installation.Path("hardware/old/version.info"), "build:2024.04.01");
    WriteFile(installation.Download("wrong.zip"), "y");
    WriteFile(installation.Download("complete.zip"), "x");
    WriteFile(installation.Download("partial.zip.dnl"), PartialFile("x", kStamp)); // of another one
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    MainWindow *window = installation.Window();
    // A download that the user has begun by then, and that fails at once.
    QTimer::singleShot(0, [window] { window->records.last()->status = RecordStatus::Error; });
    Build(installation,
          {"8#same.zip#x/core/version_latest#2024-05-01T1#2#9",
           "8#zeft_bsp_old.hlib.zip#bsp#2024-05-01T1#2#9",
           "8#wrong.zip#blocks/version_latest#2024-05-01T1#1#120",
           "8#complete.zip#blocks/version_latest/y#2024-05-01#1#120",
           "8#partial.zip#blocks/version_latest#T#1#120", "8#../x\n.zip#core/version_latest#T#1#1",
           "8#failed.zip#core/version_latest#T#1#1"},
          {});
    QCOMPARE(Labels(Top(installation, 2)),
             QStringList({"wrong.zip [0.0 KB]", "complete.zip [0.0 KB]", "partial.zip [0.0 KB]"}));
    QCOMPARE(Labels(Top(installation, 3)),
             QStringList({"same.zip [0.0 KB]", "failed.zip [0.0 KB]"}));
    QStringList records;
    for (const DN_FILE_STRUCT *record : window->records)
        records.append(record->version + '|' + ComponentDir(*record).remove(installation.Path(""))
                       + '|' + StatusText(record->status, 0));
    QCOMPARE(records,
             QStringList({"2024-05-01|/same|Installed", "2024-05-01|/hardware/old|Update Available",
                          "2024-05-01|/wrong|Not Installed", "2024-05-01|/complete|Install Pending",
                          "|/partial|Not Installed", "|/failed|Error"}));
    QCOMPARE(QDir(installation.Path("downloads")).entryList(QDir::Files),
             QStringList("complete.zip"));
    QCOMPARE(
        installation.Log(),
        QStringList({"File can't be installed safely, line passed over: "
                     "8#../x .zip#core/version_latest#T#1#1",
                     "Installing file complete.zip...",
                     "Connected. Select individual items in the left pane to install or update."}));
    QVERIFY(!QGuiApplication::overrideCursor());
    QVERIFY(installation.Find<QPushButton>("pb_connect")->isHidden());
    QVERIFY(installation.Find<QPushButton>("pb_pause")->isEnabled());
}

void TestTree::ShowsWhereARecordLives()
{
    Installation installation;
    Build(installation, {"8#zeft_bsp_a.hlib.zip#bsp#1#1#0", "8#nowhere.zip#bsp#1#1#0"},
          {"8#3#Board##zeft_bsp_a.hlib##"});
    auto *activity = installation.Find<QTableWidget>("table_activity");
    emit activity->itemClicked(nullptr); // no row is current yet
    installation.Window()->download_queue = installation.Window()->records;
    installation.Window()->UpdateActivityList();
    const QTreeWidgetItem *item = Top(installation, 1)->child(3)->child(0);
    for (const int row : {1, 0}) {
        QTest::mouseClick(activity->viewport(), Qt::LeftButton, Qt::NoModifier,
                          activity->visualItemRect(activity->item(row, 1)).center());
        QCOMPARE(item->isSelected(), row == 0);
    }
    QVERIFY(item->parent()->isExpanded() && activity->isVisible());
}

ZEFT_TEST(TestTree)
#include "test_tree.moc"
