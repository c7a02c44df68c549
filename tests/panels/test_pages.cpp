#include "app/mainwindow_helper.h"
#include "panels/downloadwgt.h"
#include "panels/recordtable.h"
#include "panels/settingsdlg.h"
#include "support/installation.h"
#include "support/silentconsole.h"
#include "transfer/filedownloader.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QNetworkProxy>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTextBrowser>
#include <QtTest>

class TestPages : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { SilentConsole::Start(); }
    void cleanup() { QCOMPARE(SilentConsole::Take().join('\n'), QString()); }

    void NamesTheSize();
    void HoldsRows();
    void SharesItsWidth();
    void OffersWhatTheStatusAllows_data();
    void OffersWhatTheStatusAllows();
    void HandsPressesOn();
    void AsksBeforeItCancelsAnInstallation();
    void StopsTheTransferOfAnUninstalledRecord();
    void BringsFontsDown();
    void EnablesTheProxyFields();
    void Connects();
    void MirrorsTheActivity();
};

namespace {

/// A page with one record, shown and selected.
struct Page
{
    Page()
    {
        record.file_name = "a.zip";
        record.install_root = installation.Path("");
        record.install_dir = "a";
        widget.AddTableRow("a", &record);
        widget.show();
        table->selectRow(0);
    }

    Installation installation{false}; // no stage takes the record from its queue
    DN_FILE_STRUCT record;
    DownloadWgt widget{{"Files", "Status"}, nullptr};
    QTableWidget *table = widget.findChild<QTableWidget *>("table");
    QPushButton *install = widget.findChild<QPushButton *>("pb_install");
    QPushButton *uninstall = widget.findChild<QPushButton *>("pb_delete");
};

QStringList Column(const QTableWidget *table, int column)
{
    QStringList texts;
    for (int row = 0; row < table->rowCount(); ++row)
        texts.append(table->item(row, column)->text());
    return texts;
}

} // namespace

void TestPages::NamesTheSize()
{
    const QMap<qint64, QString> sizes = {{-1, ""},
                                         {0, ""},
                                         {523, " [0.5 KB]"},
                                         {999999, " [1000.0 KB]"},
                                         {1000000, " [1.0 MB]"},
                                         {1500000, " [1.5 MB]"},
                                         {999999999, " [1000.0 MB]"},
                                         {1000000000, " [1.0 GB]"},
                                         {9999999999999, " [10000.0 GB]"}};
    for (auto size = sizes.begin(); size != sizes.end(); ++size)
        QCOMPARE(RecordTable::SizeSuffix(size.key()), size.value());
}

void TestPages::HoldsRows()
{
    Page page;
    DN_FILE_STRUCT sized;
    sized.file_size = 1500000;
    page.widget.AddTableRow("nothing", nullptr);
    page.widget.AddTableRow("b", &sized);
    QCOMPARE(Column(page.table, 0), QStringList({"a", "nothing", "b [1.5 MB]"}));
    QCOMPARE(page.record.display_name + "|" + sized.display_name, QString("a|b [1.5 MB]"));
    QCOMPARE(page.table->item(2, 0)->type() * 1000 + page.table->item(2, 1)->type(), 101102);
    QCOMPARE(page.table->item(2, 0)->data(Qt::UserRole).userType(), int(QMetaType::VoidStar));
    QCOMPARE(page.widget.Rows(), 3);
    QCOMPARE(page.widget.MatchingRow(&sized), 2);
    DN_FILE_STRUCT other;
    QCOMPARE(page.widget.MatchingRow(&other), -1);
    for (const int row : {-1, 1, 3})
        QVERIFY(!page.widget.FS(row));

    // A visible page is brought up to date by its own timer, and at once when it is shown again.
    sized.status_text = "Installed";
    QTRY_COMPARE_WITH_TIMEOUT(Column(page.table, 1), QStringList({"", "", "Installed"}), 2000);
    page.widget.hide();
    sized.status_text = "Deleting";
    page.widget.onTimer500();
    QCOMPARE(page.table->item(2, 1)->text(), QString("Installed"));
    page.widget.show();
    QCOMPARE(page.table->item(2, 1)->text(), QString("Deleting"));
}

void TestPages::SharesItsWidth()
{
    for (const int columns : {2, 3}) {
        DownloadWgt widget(QStringList({"a", "b", "c"}).mid(0, columns), nullptr);
        widget.show();
        widget.resize(700, 600);
        const auto *table = widget.findChild<QTableWidget *>("table");
        QVERIFY(table->width() > 600);
        QCOMPARE(table->columnWidth(0), int(table->width() * (columns == 2 ? 0.6 : 0.4)));
        if (columns == 3)
            QCOMPARE(table->columnWidth(1), int(table->width() * 0.3));
    }
}

void TestPages::OffersWhatTheStatusAllows_data()
{
    QTest::addColumn<bool>("cancels");
    QTest::addColumn<bool>("presses");
    QTest::addColumn<bool>("uninstalls");
    const QSet<int> cancelled = {3, 4, 5, 6};
    const QSet<int> stays = {1, 6, 8};
    for (int status = -1; status <= 9; ++status)
        QTest::newRow(qPrintable(QString::number(status)))
            << cancelled.contains(status) << (status != 8) << !stays.contains(status);
}

void TestPages::OffersWhatTheStatusAllows()
{
    QFETCH(const bool, cancels);
    Page page;
    page.record.status = QByteArray(QTest::currentDataTag()).toInt();
    page.widget.onTimer500();
    QCOMPARE(page.install->text(), QString(cancels ? "Cancel" : "Install"));
    QTEST(page.install->isEnabled(), "presses");
    QTEST(page.uninstall->isEnabled(), "uninstalls");

    page.widget.AddTableRow("nothing", nullptr);
    QTest::mouseClick(page.table->viewport(), Qt::LeftButton, Qt::NoModifier,
                      page.table->visualItemRect(page.table->item(1, 0)).center());
    QCOMPARE(page.install->text(), QString("Install"));
    QVERIFY(page.install->isEnabled() && !page.uninstall->isEnabled());
    page.install->click(); // of no effect
    QVERIFY(page.installation.Window()->download_queue.isEmpty());
}

void TestPages::HandsPressesOn()
{
    Page page;
    MainWindow *window = page.installation.Window();
    page.record.status = RecordStatus::Installed;
    page.widget.onTimer500();
    page.widget.timer.stop(); // no tick in the midst of the double click
    QTest::mouseClick(page.install, Qt::LeftButton);
    QTest::mouseDClick(page.install, Qt::LeftButton); // only the press of a double click
    QTest::mouseRelease(page.install, Qt::LeftButton);
    QCOMPARE(window->download_queue, QList<DN_FILE_STRUCT *>{&page.record});
    QCOMPARE(page.record.status, int(RecordStatus::DownloadPending));
    page.widget.onTimer500();
    page.install->click(); // "Cancel"
    QVERIFY(window->download_queue.isEmpty());

    page.record.status = RecordStatus::Installed;
    page.widget.onTimer500();
    page.uninstall->click();
    QCOMPARE(window->delete_queue, QList<DN_FILE_STRUCT *>{&page.record});
    QCOMPARE(page.record.status, int(RecordStatus::Deleting));
    QVERIFY(!page.install->isEnabled() && !page.uninstall->isEnabled()); // at once
    window->delete_queue.clear();
}

void TestPages::AsksBeforeItCancelsAnInstallation()
{
    Page page;
    MainWindow *window = page.installation.Window();
    window->AddToInstall(&page.record);
    page.record.status = RecordStatus::Installing;
    page.widget.onTimer500();

    BoxAnswers boxes({QMessageBox::Cancel, QMessageBox::Yes});
    page.install->click();
    QCOMPARE(window->install_queue.size(), 1);
    page.install->click();
    QVERIFY(window->install_queue.isEmpty());
    QCOMPARE(window->delete_queue, QList<DN_FILE_STRUCT *>{&page.record});
    const QString question =
        "ZEFT: The selected component is currently installing. It is recommended not to cancel at "
        "this stage. Press 'Yes' if you still needs to cancel the installation.";
    QCOMPARE(boxes.questions, QStringList({question, question}));
    window->delete_queue.clear();
}

void TestPages::StopsTheTransferOfAnUninstalledRecord()
{
    for (const bool transfers : {false, true}) {
        Page page;
        MainWindow *window = page.installation.Window();
        window->repo_url = "https://localhost:9";
        window->AddToDownload(&page.record);
        if (transfers)
            window->ProcessDownload();
        QCOMPARE(page.record.downloader != nullptr, transfers);
        page.widget.onTimer500();
        page.uninstall->click();
        QVERIFY(!page.record.downloader && window->download_queue.isEmpty());
        QCOMPARE(window->delete_queue, QList<DN_FILE_STRUCT *>{&page.record});
        QVERIFY(page.installation.Work(
            [&] { return page.record.status == RecordStatus::NotInstalled; }));
        QVERIFY(!QFile::exists(page.installation.Download("a.zip.dnl")));
    }
}

void TestPages::BringsFontsDown()
{
    const Page page;
    auto *text = page.widget.findChild<QTextBrowser *>("text");
    DownloadWgt widget({"a", "b"}, nullptr);
    auto *shown = widget.findChild<QTextBrowser *>("text");
    for (const auto &pair : {std::make_pair("10.0pt", "8.0pt"), std::make_pair("12.0pt", "10.0pt"),
                             std::make_pair("11.0pt", "11.0pt")}) {
        const QString html = "<p style='font-size:%1;line-height:%2'>x</p>";
        widget.SetHtmlText(html.arg(pair.first, "150%") + html.arg(pair.first, "115%"));
        text->setHtml(html.arg(pair.second, "100%") + html.arg(pair.second, "100%"));
        QCOMPARE(shown->toHtml(), text->toHtml());
    }
    widget.SetPlainText("<b>");
    QCOMPARE(shown->toPlainText(), QString("<b>"));
}

void TestPages::EnablesTheProxyFields()
{
    SettingsDlg page(nullptr);
    auto *proxy = page.findChild<QComboBox *>("cb_proxy");
    const auto enabled = [&] {
        int count = 0;
        for (const QLineEdit *field : page.findChildren<QLineEdit *>(QRegularExpression("^eb_")))
            count += field->isEnabled() ? 1 : 0;
        return count;
    };
    QCOMPARE(proxy->currentText(), QString("System Proxy"));
    QCOMPARE(enabled(), 0);
    page.findChild<QLineEdit *>("eb_proxy_addr")->setText("proxy");
    proxy->setCurrentText("Manual Settings");
    QCOMPARE(enabled(), 4);
    proxy->setCurrentText("No Proxy");
    QCOMPARE(enabled(), 0);
    QCOMPARE(page.findChild<QLineEdit *>("eb_proxy_addr")->text(), QString("proxy"));
}

void TestPages::Connects()
{
    SettingsDlg page(nullptr);
    auto *connect = page.findChild<QPushButton *>("pb_connect");
    QSignalSpy pressed(&page, &SettingsDlg::Connect);
    connect->click(); // no repository
    QVERIFY(connect->isEnabled());
    page.AddRepo("https://a");
    page.AddRepo("https://b");
    page.findChild<QComboBox *>("cb_proxy")->setCurrentText("Manual Settings");
    const QStringList texts = {"addr", "host", "port", "3128", "usr", "me", "pwd", "secret"};
    for (int i = 0; i < texts.size(); i += 2)
        page.findChild<QLineEdit *>("eb_proxy_" + texts[i])->setText(texts[i + 1]);
    connect->click();
    const QNetworkProxy proxy = QNetworkProxy::applicationProxy();
    FileDownloader::SetApplicationProxy(0, "", "", "", "");
    QCOMPARE(pressed.size(), 1);
    QCOMPARE(pressed[0][0].toString(), QString("https://a"));
    QVERIFY(!connect->isEnabled());
    QCOMPARE(QString("%1 %2 %3 %4")
                 .arg(proxy.hostName())
                 .arg(proxy.port())
                 .arg(proxy.user(), proxy.password()),
             QString("host 3128 me secret"));
    QVERIFY(!page.IsAltLink());
    page.findChild<QCheckBox *>("chk_alt_link")->setChecked(true);
    QVERIFY(page.IsAltLink());
}

void TestPages::MirrorsTheActivity()
{
    SettingsDlg page(nullptr);
    auto *table = page.findChild<QTableWidget *>("table_activity");
    DN_FILE_STRUCT records[4];
    for (int i = 0; i < 4; ++i) {
        records[i].display_name = QString::number(i);
        records[i].status_text = QString("s%1").arg(i);
    }
    const struct
    {
        QList<int> listed;
        QStringList rows;
        QStringList statuses;
    } steps[] = {
        {{2, 0}, {"2", "0"}, {"", ""}},
        {{0, 1, 2}, {"2", "0", "1"}, {"s2", "s0", ""}}, // rows keep their order
        {{1, 3}, {"1", "3"}, {"s1", ""}},
        {{3, 1}, {"1", "3"}, {"s1", "s3"}},
        {{}, {}, {}},
    };
    for (const auto &step : steps) {
        QList<DN_FILE_STRUCT *> list;
        for (const int i : step.listed)
            list.append(&records[i]);
        page.UpdateActivity(list);
        QCOMPARE(Column(table, 0), step.rows);
        QCOMPARE(Column(table, 1), step.statuses);
    }
}

QTEST_MAIN(TestPages)
#include "test_pages.moc"
