#include "Repository/description.h"
#include "panels/description_view.h"
#include "panels/downloadwgt.h"
#include "panels/helpwnd.h"
#include "panels/localdownloaddlg.h"
#include "panels/settingsdlg.h"
#include "support/installation.h"
#include "support/test.h"

class TestPages : public QuietTest
{
    Q_OBJECT

private slots:
    void HoldsRows();
    void OffersWhatTheStatusAllows();
    void HandsPressesOn();
    void LaysOutTexts();
    void CutsDescriptions();
    void ReadsPictures();
    void ShowsLatePictures();
    void Connects();
    void MirrorsTheActivity();
    void PicksFiles();
    void RefusesWhatIsNotSafe();
    void StartsTheHelpViewer();
    void KeepsTheHelpFileOnShow();
};

namespace {

/// A page with one record, shown and selected.
struct ShownPage
{
    ShownPage()
    {
        record.file_name = "a.zip";
        record.install_root = installation.Path("");
        record.install_dir = "a";
        widget.AddTableRow("a", &record);
        widget.show();
        table->selectRow(0);
    }

    void SetStatus(int status)
    {
        record.status = status;
        widget.onTimer500();
    }

    Installation installation{false}; // no stage takes the record from its queue
    MainWindow *window = installation.Window();
    DN_FILE_STRUCT record;
    const QList<DN_FILE_STRUCT *> alone = {&record};
    DownloadWgt widget{{"Files", "Status"}, nullptr};
    QTableWidget *table = widget.findChild<QTableWidget *>("table");
    QPushButton *install = widget.findChild<QPushButton *>("pb_install");
    QPushButton *uninstall = widget.findChild<QPushButton *>("pb_delete");
};

QByteArray Picture(const char *format, const QSize &size = {2, 3})
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, format);
    return bytes;
}

QString Column(const QTableWidget *table, int column)
{
    QStringList texts;
    for (int row = 0; row < table->rowCount(); ++row)
        texts.append(table->item(row, column)->text());
    return texts.join('|');
}

LocalDownloadDlg *LocalPage(const Installation &installation)
{
    auto *item = installation.Window()->tree_item_local;
    return qobject_cast<LocalDownloadDlg *>(item->data(0, Qt::UserRole).value<QObject *>());
}

/// Presses "Add" and picks files in the dialogue: by their names, in \a dir where one is given.
/// With no names the dialogue is cancelled. Gives the directory that the dialogue began with.
QString Pick(LocalDownloadDlg *page, const QStringList &names, const QString &dir = QString())
{
    QString began;
    const QObject press; // which the dialogue comes during, if it comes
    QTimer::singleShot(0, &press, [&] {
        auto *dialog = qobject_cast<QFileDialog *>(QApplication::activeModalWidget());
        QVERIFY2(dialog, "no file dialogue");
        began = dialog->directory().path();
        if (names.isEmpty())
            return dialog->reject();
        if (!dir.isEmpty())
            dialog->setDirectory(dir);
        dialog->findChild<QLineEdit *>("fileNameEdit")->setText('"' + names.join("\" \"") + '"');
        dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Open)->click();
    });
    page->findChild<QPushButton *>("pb_add")->click();
    return began;
}

} // namespace

void TestPages::HoldsRows()
{
    ShownPage page;
    DN_FILE_STRUCT sized;
    for (const qint64 size : {-1LL, 0LL, 523LL, 999999LL, 1500000LL, 9999999999999LL}) {
        sized.file_size = size;
        page.widget.AddTableRow("", &sized);
    }
    QCOMPARE(Column(page.table, 0), QString("a||| [0.5 KB]| [1000.0 KB]| [1.5 MB]| [10000.0 GB]"));
    QCOMPARE(sized.display_name, QString(" [10000.0 GB]"));
    page.widget.AddTableRow("nothing", nullptr);
    QCOMPARE(page.widget.Rows(), 8);
    QCOMPARE(page.widget.MatchingRow(&sized), 1);
    DN_FILE_STRUCT other;
    QCOMPARE(page.widget.MatchingRow(&other), -1);
    for (const int row : {-1, 7, 8})
        QVERIFY(!page.widget.FS(row));

    DownloadWgt narrow({"Files"}, nullptr);
    narrow.AddTableRow("a", &page.record);
    QVERIFY(!narrow.timer.isActive());
    narrow.show();
    QCOMPARE(narrow.MatchingRow(&page.record), 0);

    // A visible page is brought up to date by its own timer, and at once when it is shown again.
    const QTableWidgetItem *status = page.table->item(0, 1);
    page.record.status_text = "Installed";
    QTRY_COMPARE_WITH_TIMEOUT(status->text(), QString("Installed"), 2000);
    page.widget.hide();
    QVERIFY(!page.widget.timer.isActive());
    page.record.status_text = "Deleting";
    page.widget.onTimer500();
    QCOMPARE(status->text(), QString("Installed"));
    page.widget.show();
    QCOMPARE(status->text(), QString("Deleting"));
}

void TestPages::OffersWhatTheStatusAllows()
{
    ShownPage page;
    const auto offer = [&](int status) {
        page.SetStatus(status);
        QStringList buttons;
        for (const QPushButton *button : {page.install, page.uninstall})
            buttons += (button->isEnabled() ? "" : "no ") + button->text();
        return buttons.join(", ");
    };
    using namespace RecordStatus;
    const std::pair<QList<int>, const char *> offers[] = {
        {{NotInstalled}, "Install, no Uninstall"},
        {{Unknown, UpdateAvailable, Installed, Error}, "Install, Uninstall"},
        {{DownloadPending, Downloading, InstallPending}, "Cancel, Uninstall"},
        {{Deleting}, "no Install, no Uninstall"},
        {{Installing}, "Cancel, no Uninstall"},
    };
    for (const auto &[statuses, buttons] : offers) {
        for (const int status : statuses)
            QVERIFY2(offer(status) == buttons, qPrintable(StatusText(status, 0)));
    }
    page.widget.AddTableRow("nothing", nullptr);
    QTest::mouseClick(page.table->viewport(), Qt::LeftButton, Qt::NoModifier,
                      page.table->visualItemRect(page.table->item(1, 0)).center());
    QCOMPARE(page.install->text(), QString("Install"));
    QVERIFY(page.install->isEnabled() && !page.uninstall->isEnabled());
    page.install->click(); // of no effect
    QVERIFY(page.window->download_queue.isEmpty());
}

void TestPages::HandsPressesOn()
{
    ShownPage page;
    page.SetStatus(RecordStatus::Installed);
    page.widget.timer.stop(); // no tick in the midst of the double click
    QTest::mouseClick(page.install, Qt::LeftButton);
    QTest::mouseDClick(page.install, Qt::LeftButton); // only the press of a double click
    QTest::mouseRelease(page.install, Qt::LeftButton);
    QCOMPARE(page.window->download_queue, page.alone);
    QCOMPARE(page.record.status, int(RecordStatus::DownloadPending));
    page.widget.onTimer500();
    page.install->click(); // "Cancel"
    QVERIFY(page.window->download_queue.isEmpty());

    page.window->repo_url = "https://localhost:9";
    page.window->AddToDownload(&page.record);
    page.window->ProcessDownload();
    QVERIFY(page.record.downloader);
    page.widget.onTimer500();
    page.uninstall->click();
    QVERIFY(!page.record.downloader && page.window->download_queue.isEmpty());
    QCOMPARE(page.window->delete_queue, page.alone);
    QCOMPARE(page.record.status, int(RecordStatus::Deleting));
    QVERIFY(!page.install->isEnabled() && !page.uninstall->isEnabled()); // at once
    QVERIFY(page.installation.Reaches(&page.record, RecordStatus::NotInstalled));
    QVERIFY(!QFile::exists(page.installation.Download("a.zip.dnl")));
}

void TestPages::LaysOutTexts()
{
    const Installation installation;
    QTextBrowser text;
    DownloadWgt widget({"a", "b"}, nullptr);
    widget.show();
    widget.resize(700, 600);
    const auto *table = widget.findChild<QTableWidget *>("table");
    QCOMPARE(table->columnWidth(0), int(table->width() * 0.6));
    auto *shown = widget.findChild<QTextBrowser *>("text");
    const QString html = "<p style='font-size:%1;line-height:%2'>x</p>";
    const char *const sizes[][2] = {{"10.0pt", "8.0pt"}, {"12.0pt", "10.0pt"}};
    for (const auto &size : sizes) {
        widget.SetHtmlText(html.arg(size[0], "150%") + html.arg(size[0], "115%"));
        text.setHtml(html.arg(size[1], "100%") + html.arg(size[1], "100%"));
        QCOMPARE(shown->toHtml(), text.toHtml());
    }
    widget.SetHtmlText("<table><tr><td colspan='9999'>");
    QCOMPARE(shown->document()->findChild<QTextTable *>()->columns(), 32);
    widget.SetPlainText("<b>");
    QCOMPARE(shown->toPlainText(), QString("<b>"));
}

void TestPages::CutsDescriptions()
{
    const auto row = [](const QString &name, QString html, const QString &laid_out) {
        const bool is_shown = CutForLayout(html);
        Row(name, is_shown ? html : "too long", laid_out);
    };
    const auto whole = [&](const QString &name, const QString &html) { row(name, html, html); };
    const QString table = "<table><tr><td>";
    whole("pin table", "<table>" + QString("<tr><td rowspan='64'>1<td>PA1").repeated(1156));
    whole("style sheet in a comment", "<style>< !-- p{} " + table.repeated(9) + " --></style>");
    whole("four tables in each other",
          table.repeated(4) + "x" + QString("</table>").repeated(9) + table);
    whole("a picture of 5 MB in a text of 2 MB", QString(1999988, 'x')
                                                     + "<img src='data:image/png;base64,"
                                                     + QString(5000000, 'A') + "'>");
    row("text of more than 2 MB", QString(2000001, 'x'), "too long");
    row("five tables in each other",
        table.repeated(5) + "</TABLE>" + QString("</table>").repeated(4),
        table.repeated(4) + "<inner-table><tr><td></inner-table>"
            + QString("</table>").repeated(4));
    row("spans of all columns", "<td colspan=33><th COLSPAN = \"1000\"><td colspan='100%'>",
        "<td colspan=32><th COLSPAN = \"32\"><td colspan='1'>");
    row("spans that Qt reads", "<td 'rowspan'\n=\t' +0101 ' rowspan=&#57;9 rowspan=99999999999/>",
        "<td 'rowspan'\n=\t' 100 ' rowspan=1 rowspan=1>");
}

void TestPages::ReadsPictures()
{
    const Installation installation;
    const auto row = [&](const QString &name, const QByteArray &bytes, const QString &url,
                         bool is_shown) {
        for (const char *file : {"file", "hwd_doc/file"})
            WriteFile(installation.Download(file), bytes);
        DescriptionView view(nullptr);
        const QVariant resource = view.loadResource(QTextDocument::ImageResource, url);
        const QSize size = is_shown ? QSize(2, 3) : QSize(1, 1); // never null
        Row(name, resource.value<QImage>().size(), size);
        Row(name, view.loadResource(QTextDocument::StyleSheetResource, url).isNull(), false);
    };
    for (const char *format : {"png", "jpeg", "bmp"})
        row(format, Picture(format), "file", true);
    row("gif",
        QByteArray::fromBase64("R0lGODlhAgADAPAAAP8AAAAAACH5BAAAAAAALAAAAAACAAMAAAIChF8AOw=="),
        "file", true);
    row("a format that no page needs", Picture("ppm"), "file", false);
    row("bmp of 4,096 megapixels",
        Picture("bmp").replace(18, 8, QByteArray::fromHex("0000010000000100")), "file", false);
    row("in the page", "", "data:image/png;base64," + Picture("png").toBase64(), true);
    row("beside the pages", Picture("png"), "../file", false);
    row("by a whole URL", Picture("png"), "file:///dev/zero", false);
}

void TestPages::ShowsLatePictures()
{
    const Installation installation;
    DownloadWgt widget({"a", "b"}, nullptr);
    auto *view = widget.findChild<DescriptionView *>("text");
    widget.SetHtmlText("<img src='late.bmp'>");
    view->m_pixelsLeft = 30000; // it takes 20,000
    widget.show();
    const QString file = installation.Download("hwd_doc/late.bmp");
    const QByteArray picture = Picture("bmp", {200, 100});
    const QTextDocument *page = view->document();
    QVERIFY(page->size().height() < 100);
    for (const int count : {60, 70, picture.size()}) { // seen twice while it is being unpacked
        WriteFile(file, picture.left(count));
        widget.onTimer500();
    }
    QVERIFY(page->size().height() > 100);
    QFile::remove(file);
    widget.SetHtmlText("x");
    QVERIFY(view->m_files.isEmpty());
    widget.SetHtmlText("<img src='late.bmp'>");
    QVERIFY(page->size().height() < 100);
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
    const auto fields = page.findChildren<QLineEdit *>(QRegularExpression("^eb_"));
    const QStringList texts = {"addr", "host", "port", "70000", "usr", "me", "pwd", "secret"};
    for (int i = 0; i < texts.size(); i += 2)
        page.findChild<QLineEdit *>("eb_proxy_" + texts[i])->setText(texts[i + 1]);
    for (const char *proxy : {"System Proxy", "Manual Settings", "No Proxy"}) {
        page.findChild<QComboBox *>("cb_proxy")->setCurrentText(proxy);
        for (const QLineEdit *field : fields)
            QCOMPARE(field->isEnabled(), *proxy == 'M');
        connect->click();
        QVERIFY(!connect->isEnabled());
        page.EnableConnectPB(true);
        QCOMPARE(QNetworkProxyFactory::usesSystemConfiguration(), *proxy == 'S');
        if (*proxy == 'M')
            QCOMPARE(QNetworkProxy::applicationProxy(),
                     QNetworkProxy(QNetworkProxy::HttpProxy, "host", 4464, "me", "secret"));
    }
    QCOMPARE(QNetworkProxy::applicationProxy(), QNetworkProxy(QNetworkProxy::NoProxy));
    QCOMPARE(pressed.size(), 3);
    QCOMPARE(pressed[0][0].toString(), QString("https://a"));
}

void TestPages::MirrorsTheActivity()
{
    SettingsDlg page(nullptr);
    const auto *table = page.findChild<QTableWidget *>("table_activity");
    DN_FILE_STRUCT records[4];
    for (int i = 0; i < 4; ++i) {
        records[i].display_name = QString::number(i);
        records[i].status_text = QString("s%1").arg(i);
    }
    const char *const steps[][3] = {
        {"20", "2|0", "|"},   {"012", "2|0|1", "s2|s0|"}, // rows keep their order
        {"13", "1|3", "s1|"}, {"31", "1|3", "s1|s3"},     {"", "", ""},
    };
    for (const auto &step : steps) {
        QList<DN_FILE_STRUCT *> list;
        for (const char *digit = step[0]; *digit; ++digit)
            list.append(&records[*digit - '0']);
        page.UpdateActivity(list);
        QCOMPARE(Column(table, 0), QString(step[1]));
        QCOMPARE(Column(table, 1), QString(step[2]));
    }
}

void TestPages::PicksFiles()
{
    Installation installation(false); // the records keep the status that is set here
    LocalDownloadDlg *page = LocalPage(installation);
    const QTemporaryDir picked;
    for (const char *name : {"a.hlib.zip", "b.htc", "xa.hlib.zip"})
        WriteFile(picked.filePath(name), "abc");
    BoxAnswers boxes({QMessageBox::Cancel, QMessageBox::Yes});
    QCOMPARE(Pick(page, {}), installation.Path(""));
    QCOMPARE(Pick(page, {"xa.hlib.zip", "b.htc"}, picked.path()), installation.Path(""));
    const QList<DN_FILE_STRUCT *> &records = installation.Window()->local_records;
    QCOMPARE(records.size(), 2);
    QCOMPARE(page->FS(1), records[1]);
    QCOMPARE(records[1]->local_dir, picked.path());
    QCOMPARE(records[1]->file_size, qint64(3));
    QCOMPARE(records[1]->status, int(RecordStatus::InstallPending));
    records[1]->status = RecordStatus::Error;
    QCOMPARE(Pick(page, {"xa.hlib.zip", "b.htc"}), picked.path()); // in work or failed: not a word
    QCOMPARE(page->Rows(), 2);
    QCOMPARE(boxes.questions, QStringList());

    records[0]->status = RecordStatus::Installed;
    for (const int rows : {2, 3}) {
        Pick(page, {"a.hlib.zip"}); // a part of the listed name counts as a match
        QCOMPARE(page->Rows(), rows);
    }
    const QString question =
        "ZEFT: The selected component '" + picked.filePath("a.hlib.zip")
        + "' is already installed during this session. Press 'Yes' to install it again.";
    QCOMPARE(boxes.questions, QStringList({question, question}));
}

void TestPages::RefusesWhatIsNotSafe()
{
    Installation installation;
    // What is or lies in the component's own directory goes before it is unpacked.
    const QStringList files = {"p/hardware.cab", "tools", "hardware/x/zeft_bsp_x.hlib.zip"};
    const QStringList links = {"p/zeft_bsp_x.hlib.zip", "hardware/z/zeft_bsp_z.hlib.zip"};
    for (const QString &name : files + QStringList{"p/folder.cab/x", "hardware/z/x"})
        WriteFile(installation.Path(name), "x");
    QFile::link(installation.Path(files[2]), installation.Path(links[0]));
    QFile::link(installation.Path(files[1]), installation.Path(links[1]));
    QStringList paths = {"", "/", "/dev/null"};
    for (const QString &name : files + links + QStringList{"p/folder.cab"})
        paths += installation.Path(name);
    for (const QString &path : qAsConst(paths)) {
        installation.Window()->AddToLocalInstall(path);
        QCOMPARE(installation.Log().last(), "File can't be installed safely: " + path);
    }
    QCOMPARE(LocalPage(installation)->Rows(), 0);
    QVERIFY(installation.Window()->local_records.isEmpty());
    QVERIFY(installation.Window()->delete_queue.isEmpty());
}

void TestPages::StartsTheHelpViewer()
{
    const QTemporaryDir dir;
    const QString viewer = dir.filePath("xchm");
    const QByteArray path = qgetenv("PATH");
    WriteFile(viewer, "#!/bin/sh\nprintf '%s|' \"$@\" >\"$0.part\"; mv \"$0.part\" \"$0.args\"\n");
    QFile::setPermissions(viewer, QFile::ReadOwner | QFile::ExeOwner);
    qputenv("PATH", dir.path().toLocal8Bit() + ":" + path);
    HelpWnd::StartDocumentation("/opt/my zeft", 4, nullptr);
    qputenv("PATH", path);
    QTRY_COMPARE(ReadFile(viewer + ".args"),
                 QByteArray("--contextid=4|/opt/my zeft/help/ZEFT_Documentation.chm|"));
}

void TestPages::KeepsTheHelpFileOnShow()
{
    const QTemporaryDir dir;
    const QString first = dir.filePath("doc/first.htm");
    const QString second = dir.filePath("doc/second.htm");
    QVERIFY(WriteFile(first, "x") && WriteFile(second, "x"));
    HelpWnd window(nullptr);
    const auto set = [&](const QString &file, bool append, bool load_invisible) {
        emit window.Signal_SetFile(file, append, load_invisible);
        return window.m_currentFile;
    };
    QCOMPARE(set(first, false, false), QString()); // a hidden window takes none
    QCOMPARE(set(first, true, true), first);
    QCOMPARE(set(second, true, true), first);
    QCOMPARE(set(second, false, true), second);
    QCOMPARE(set(dir.filePath("none"), true, true), QString());
    window.show();
    QCOMPARE(set(first, false, false), first);

    WSP_BLK_HELP_STRUCT help = {{"second.htm", "first.htm"}};
    WSP_BLK_INFO_STRUCT info[] = {{&help}, {nullptr}};
    const WSP_BLK_ITEM_STRUCT blocks[] = {{dir.path(), &info[0]}, {dir.path(), &info[1]}};
    window.SetFile(&blocks[0]);
    QCOMPARE(window.m_currentFile, second);
    emit window.Signal_SetFile(&blocks[1], false, false);
    QCOMPARE(window.m_currentFile, QString());
}

ZEFT_TEST(TestPages)
#include "test_pages.moc"
