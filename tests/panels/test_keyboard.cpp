#include "app/datasingleton.h"
#include "panels/downloadwgt.h"
#include "panels/settingsdlg.h"
#include "support/installation.h"
#include "support/nginx_server.h"
#include "support/repository.h"
#include "support/test.h"

/// The window for who has no mouse, sees little or nothing, or likes it dark.
class TestKeyboard : public QuietTest
{
    Q_OBJECT

public slots:
    void Open(const QUrl &url) { m_opened.append(url); }

private slots:
    void NamesEachStop_data();
    void NamesEachStop();
    void WorksWithoutAMouse();
    void PressesByKey();
    void FitsFontAndScreen_data();
    void FitsFontAndScreen();
    void ShowsCutTexts();
    void ShowsTheLogInTheDark();

    void cleanup();

private:
    const QFont m_usualFont = QApplication::font();
    const QPalette m_usualPalette = QApplication::palette();
    QList<QUrl> m_opened;
};

namespace {

/// One that gets the keys.
struct ActiveInstallation : Installation
{
    explicit ActiveInstallation(bool beats = true)
        : Installation(beats)
    {
        Activate();
    }

    /// As the desktop does when a window opens or a box over it has gone.
    void Activate() const
    {
        Window()->activateWindow();
        if (!QTest::qWaitForWindowActive(Window()))
            qWarning("The window gets no keys");
    }

    QString Answer(const std::function<void()> &act, int key,
                   Qt::KeyboardModifiers modifiers = Qt::NoModifier) const;
};

void PressKey(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    QTest::keyClick(QGuiApplication::focusWindow(), static_cast<Qt::Key>(key), modifiers);
}

QString Focused()
{
    return QApplication::focusWidget() ? QApplication::focusWidget()->objectName() : "none";
}

bool TabTo(const QString &object_name)
{
    for (int i = 0; i < 20 && Focused() != object_name; ++i)
        PressKey(Qt::Key_Tab);
    return Focused() == object_name;
}

QString Told(QObject *widget, QAccessible::Text text = QAccessible::Name)
{
    const QAccessibleInterface *teller = QAccessible::queryAccessibleInterface(widget);
    if (text == QAccessible::Name && teller->role() == QAccessible::ComboBox) // its own is its text
        teller = teller->relations(QAccessible::Label)[0].first;
    return teller->text(text);
}

/// Presses a key in the box or dialogue that \a act opens. Gives what that shows, empty if none
/// came.
QString ActiveInstallation::Answer(const std::function<void()> &act, int key,
                                   Qt::KeyboardModifiers modifiers) const
{
    QString shown;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        const QWidget *modal = QApplication::activeModalWidget();
        if (!modal || QGuiApplication::focusWindow() != modal->windowHandle())
            return;
        watch.stop();
        const auto *box = qobject_cast<const QMessageBox *>(modal);
        shown = box ? box->text() : modal->windowTitle();
        PressKey(key, modifiers);
    });
    watch.start(1);
    act();
    if (Window()->isVisible())
        Activate();
    return shown;
}

void ShowPage(const Installation &installation, QTreeWidgetItem *item)
{
    installation.Find<QTreeWidget>("tree_wgt")->setCurrentItem(item);
    installation.Find<QTreeWidget>("tree_wgt")->setFocus();
}

} // namespace

void TestKeyboard::cleanup()
{
    QApplication::setFont(m_usualFont);
    QApplication::setPalette(m_usualPalette);
}

void TestKeyboard::NamesEachStop_data()
{
    const Table<int, QString> row("place", "names");
    row("connections", 0,
        "Pages|HTTP Proxy Server|Proxy Server Address|Proxy Server Port|Proxy User Name|"
        "Proxy Password|Repositories|Connect|Alternate link|Activity|Messages|Help");
    row("components", 3,
        "Pages|Components Available For Install or Update|Install|Uninstall|Component Description|"
        "Messages|Help");
    row("local files", 4, "Pages|Components to Install or Update|Add|Messages|Help");
}

/// The Tab key leads round the window, through tables with rows, and a screen reader tells where.
void TestKeyboard::NamesEachStop()
{
    QFETCH(const int, place);
    ActiveInstallation installation;
    auto *tree = installation.Find<QTreeWidget>("tree_wgt");
    auto *proxies = installation.Find<QComboBox>("cb_proxy");
    QCOMPARE(Told(proxies->view()), QString("HTTP Proxy Server"));
    proxies->setCurrentText("Manual Settings");
    DN_FILE_STRUCT record;
    for (const int page : {3, 2, place}) {
        ShowPage(installation, tree->topLevelItem(page));
        if (auto *table = installation.Find<DownloadWgt>("DownloadWgt"))
            table->AddTableRow("a", &record);
    }
    QStringList names;
    do {
        QWidget *stop = QApplication::focusWidget();
        QVERIFY2(stop, qPrintable(names.join('|')));
        names.append(Told(stop));
        QCOMPARE(Told(stop, QAccessible::Description), stop->toolTip());
        PressKey(Qt::Key_Tab);
    } while (Focused() != "tree_wgt" && names.size() < 20);
    QTEST(names.join('|'), "names");
    for (const char *bar : {"pbar_dl", "pbar_inst"})
        QVERIFY(Told(installation.Find<QProgressBar>(bar)).contains("Status"));
    auto *items = QAccessible::queryAccessibleInterface(tree)->tableInterface();
    QCOMPARE(items->cellAt(1, 0)->text(QAccessible::Description),
             tree->topLevelItem(1)->toolTip(0));
}

void TestKeyboard::WorksWithoutAMouse()
{
    const QTemporaryDir site;
    const NginxServer server(site.path());
    Repository repository(site.path());
    repository.Add("core/version_latest", "core.zip",
                   {{"core/version.info", "build: 2024.05.01\r\n"},
                    {"core/zeft_install.sh",
                     "#!/bin/sh\necho ' 42%'\nuntil [ -e ../go ]; do sleep 0.02; done\n"}});
    QVERIFY(repository.Publish());
    ActiveInstallation installation;
    QTableWidgetItem *url = installation.Find<QTableWidget>("table_repo")->item(0, 0);

    url->setText("https://localhost:9");
    QVERIFY(TabTo("pb_connect"));
    PressKey(Qt::Key_Return);
    QVERIFY(!installation.IsConnected());
    QCOMPARE(Focused(), QString("pb_connect"));
    url->setText(server.Url());
    PressKey(Qt::Key_Space);
    QVERIFY(installation.IsConnected());
    QCOMPARE(Focused(), QString("tree_wgt"));

    const DN_FILE_STRUCT *record = installation.Record("core.zip");
    const auto press_return = [] { PressKey(Qt::Key_Return); };
    for (int i = 0; i < 3; ++i)
        PressKey(Qt::Key_Down);
    QVERIFY(TabTo("table"));
    const auto *button = installation.Find<QPushButton>("pb_install");
    const auto reads = [&](const char *text) {
        return installation.Work([&] { return button->isEnabled() && button->text() == text; });
    };
    const auto install = [&] {
        return reads("Install") && TabTo("pb_install") && (press_return(), true)
               && installation.Work([&] { return installation.Window()->post_install_process; })
               && reads("Cancel");
    };
    QVERIFY(install());
    QCOMPARE(installation.Answer(press_return, Qt::Key_Return),
             QString("The selected component is currently installing. It is recommended not to "
                     "cancel at this stage. Press 'Yes' if you still needs to cancel the "
                     "installation."));
    QCOMPARE(record->status, int(RecordStatus::Installing));
    WriteFile(installation.Path("go"), "");
    QVERIFY(installation.Reaches(record, RecordStatus::Installed) && reads("Install"));
    QVERIFY(TabTo("pb_delete"));
    PressKey(Qt::Key_Space);
    QCOMPARE(Focused(), QString("table"));
    QVERIFY(installation.Reaches(record, RecordStatus::NotInstalled));

    QFile::remove(installation.Path("go"));
    QVERIFY(install());
    const auto close = [&] { installation.Window()->close(); };
    for (const int key : {Qt::Key_Return, Qt::Key_Escape}) {
        QVERIFY(installation.Answer(close, key).contains("not to close"));
        QVERIFY(installation.Window()->isVisible() && installation.Window()->post_install_process);
    }
    QVERIFY(installation.Answer(close, Qt::Key_Y, Qt::AltModifier).contains("not to close"));
    QVERIFY(!installation.Window()->isVisible());
}

void TestKeyboard::PressesByKey()
{
    DN_FILE_STRUCT record;
    const ActiveInstallation installation(false);
    MainWindow *window = installation.Window();
    const auto *pause = installation.Find<QPushButton>("pb_pause");
    window->settings_dlg->AddRepo("https://localhost:9");
    QSignalSpy connects(window->settings_dlg, &SettingsDlg::Connect);
    installation.Find<QComboBox>("cb_proxy")->setCurrentText("Manual Settings");
    QVERIFY(TabTo("eb_proxy_usr"));
    PressKey(Qt::Key_Return);
    QCOMPARE(connects.count(), 1);
    QCOMPARE(Focused(), QString("eb_proxy_usr"));
    window->settings_dlg->EnableConnectPB(true);
    PressKey(Qt::Key_C, Qt::AltModifier);
    QTRY_COMPARE(connects.count(), 2);

    QDesktopServices::setUrlHandler("file", this, "Open");
    QVERIFY(TabTo("pb_help"));
    PressKey(Qt::Key_Return);
    QCOMPARE(m_opened.size(), 1);
    PressKey(Qt::Key_F1);
    const QString help = installation.Path("doc/zeft_web_help/topics/Updating.htm");
    QTRY_COMPARE(m_opened, QVector<QUrl>(2, QUrl::fromLocalFile(help)).toList());
    QDesktopServices::unsetUrlHandler("file");

    installation.Find<QPushButton>("pb_pause")->setEnabled(true);
    QVERIFY(TabTo("pb_pause"));
    PressKey(Qt::Key_Return);
    QCOMPARE(pause->text(), QString(" Resume Downloads "));
    PressKey(Qt::Key_P, Qt::AltModifier); // which the new text has not taken away
    QTRY_COMPARE(pause->text(), QString(" Pause Downloads "));

    ShowPage(installation, window->tree_item_core);
    installation.Find<DownloadWgt>("DownloadWgt")->AddTableRow("a", &record);
    window->AddToDownload(&record);
    window->UpdateActivityList();
    ShowPage(installation, window->tree_item_connections);
    QVERIFY(TabTo("table_activity"));
    PressKey(Qt::Key_Return);
    QVERIFY(window->tree_item_core->isSelected());
    QCOMPARE(Focused(), QString("table_activity"));

    ShowPage(installation, window->tree_item_local);
    QVERIFY(TabTo("pb_add"));
    QCOMPARE(installation.Answer([] { PressKey(Qt::Key_Return); }, Qt::Key_Escape),
             QString("Select Files"));

    window->AddMsg("text", LogLevel::Information);
    QVERIFY(TabTo("msgs"));
    PressKey(Qt::Key_A, Qt::ControlModifier);
    PressKey(Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(QGuiApplication::clipboard()->text(),
             installation.Find<QPlainTextEdit>("msgs")->toPlainText());
}

void TestKeyboard::FitsFontAndScreen_data()
{
    const Table<double, QSize> row("points", "screen"); // at 96 dpi
    row("96 dpi", 9.0, {700, 500});
    row("144 dpi", 13.5, {1024, 600});
    row("192 dpi", 18.0, {1366, 768});
}

void TestKeyboard::FitsFontAndScreen()
{
    QFETCH(const double, points);
    QFETCH(const QSize, screen);
    QFont font = m_usualFont;
    font.setPointSizeF(points);
    QApplication::setFont(font);
    const Installation installation(false);
    MainWindow *window = installation.Window();
    window->resize(1, 1); // to its least
    QTest::qWait(0);
    QCOMPARE(window->size().boundedTo(screen), window->size());

    auto *tree = installation.Find<QTreeWidget>("tree_wgt");
    tree->expandAll();
    const QRect tree_place = tree->geometry();
    const QRect log_place = installation.Find<QPlainTextEdit>("msgs")->geometry();
    const int letters = QFontMetrics(font).height();
    QVERIFY(log_place.height() >= 3 * letters);
    const auto *right = installation.Find<QWidget>("widget");
    for (QTreeWidgetItemIterator it(tree); *it; ++it) {
        tree->setCurrentItem(*it);
        QTest::qWait(0);
        QCOMPARE(tree->geometry(), tree_place);
        QCOMPARE(installation.Find<QPlainTextEdit>("msgs")->geometry(), log_place);
        QVERIFY2(tree->sizeHintForIndex(tree->currentIndex()).width()
                     <= tree->visualItemRect(*it).width(),
                 qPrintable((*it)->text(0)));
        for (const QTableWidget *table : right->findChildren<QTableWidget *>())
            QVERIFY(table->verticalHeader()->defaultSectionSize() >= letters + 4);
    }
    tree->setCurrentItem(window->tree_item_connections);
    for (const QLineEdit *field : right->findChildren<QLineEdit *>())
        QVERIFY(field->width() > 7 * QFontMetrics(font).averageCharWidth());
}

void TestKeyboard::ShowsCutTexts()
{
    const Installation installation(false);
    DownloadWgt page({"Files", "Status"}, nullptr);
    DN_FILE_STRUCT record;
    const QString name = "<b>" + QString(200, 'x');
    for (const QString &label : {QString("short"), name})
        page.AddTableRow(label, &record);
    page.show();
    const auto *table = page.findChild<QTableWidget *>("table");
    QCOMPARE(table->textElideMode(), Qt::ElideMiddle);
    for (int row = 0; row < 2; ++row) {
        const QPoint place = table->visualItemRect(table->item(row, 0)).center();
        QHelpEvent event(QEvent::ToolTip, place, table->viewport()->mapToGlobal(place));
        QApplication::sendEvent(table->viewport(), &event);
        QTextDocument shown;
        shown.setHtml(QToolTip::text());
        QCOMPARE(shown.toPlainText(), row == 0 ? QString() : name);
    }
}

void TestKeyboard::ShowsTheLogInTheDark()
{
    QApplication::setPalette(QPalette(Qt::black));
    const Installation installation(false);
    const QPalette log = installation.Find<QPlainTextEdit>("msgs")->palette();
    QVERIFY(installation.Find<QTreeWidget>("tree_wgt")->palette().base() != log.base());
    QCOMPARE(log.color(QPalette::Base), QColor(Qt::white));
    QCOMPARE(log.color(QPalette::Text), QColor(Qt::black));
}

ZEFT_TEST(TestKeyboard)
#include "test_keyboard.moc"
