#include "app/mainwindow_helper.h"
#include "panels/downloadwgt.h"
#include "support/installation.h"
#include "support/quiet_test.h"
#include "support/table.h"
#include "support/test_class.h"

#include <QAccessible>
#include <QComboBox>
#include <QProgressBar>
#include <QTreeWidget>
#include <QtTest>

/// The window for who has no mouse, or sees nothing.
class TestKeyboard : public QuietTest
{
    Q_OBJECT

private slots:
    void NamesEachStop_data();
    void NamesEachStop();
};

namespace {

/// One that gets the keys.
struct ActiveInstallation : Installation
{
    ActiveInstallation() { Activate(); }

    /// As the desktop does when a window opens or a box over it has gone.
    void Activate() const
    {
        Window()->activateWindow();
        if (!QTest::qWaitForWindowActive(Window()))
            qWarning("The window gets no keys");
    }
};

void PressKey(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    QTest::keyClick(QGuiApplication::focusWindow(), static_cast<Qt::Key>(key), modifiers);
}

QString Focused()
{
    return QApplication::focusWidget() ? QApplication::focusWidget()->objectName() : "none";
}

QString Told(QObject *widget, QAccessible::Text text = QAccessible::Name)
{
    const QAccessibleInterface *teller = QAccessible::queryAccessibleInterface(widget);
    if (text == QAccessible::Name && teller->role() == QAccessible::ComboBox) // its own is its text
        teller = teller->relations(QAccessible::Label)[0].first;
    return teller->text(text);
}

void ShowPage(const Installation &installation, QTreeWidgetItem *item)
{
    installation.Find<QTreeWidget>("tree_wgt")->setCurrentItem(item);
    installation.Find<QTreeWidget>("tree_wgt")->setFocus();
}

} // namespace

void TestKeyboard::NamesEachStop_data()
{
    const Table<int, QString> row("place", "names");
    row("connections", 0,
        "Pages|HTTP Proxy Server|Proxy Server Address|Proxy Server Port|Proxy User Name|"
        "Proxy Password|Repositories|Connect|Alternate link|Activity|Messages|Help");
    row("no page", 1, "Pages|Messages|Help");
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
    installation.Find<QComboBox>("cb_proxy")->setCurrentText("Manual Settings");
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

ZEFT_TEST(TestKeyboard)
#include "test_keyboard.moc"
