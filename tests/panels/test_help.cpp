#include "panels/helpwnd.h"
#include "panels/wsp_blk_item.h"
#include "support/installation.h"
#include "support/silentconsole.h"

#include <QDesktopServices>
#include <QPushButton>
#include <QtTest>

class TestHelp : public QObject
{
    Q_OBJECT

public slots:
    void Open(const QUrl &url) { m_opened.append(url); }

private slots:
    void initTestCase() { SilentConsole::Start(); }
    void cleanup() { QCOMPARE(SilentConsole::Take().join('\n'), QString()); }

    void OpensThePage();
    void OpensTheCompiledHelp();
    void KeepsTheFileOnShow();

private:
    QList<QUrl> m_opened;
};

void TestHelp::OpensThePage()
{
    const Installation installation;
    QDesktopServices::setUrlHandler("file", this, "Open");
    installation.Find<QPushButton>("pb_help")->click();
    QDesktopServices::unsetUrlHandler("file");
    QCOMPARE(m_opened, QList<QUrl>{QUrl::fromLocalFile(
                           installation.Path("doc/zeft_web_help/topics/Updating.htm"))});
}

void TestHelp::OpensTheCompiledHelp()
{
    const QTemporaryDir dir;
    const QByteArray path = qgetenv("PATH");
    WriteFile(dir.filePath("xchm"),
              "#!/bin/sh\nprintf '%s\\n' \"$@\" >\"$0.part\"; mv \"$0.part\" \"$0.arguments\"\n");
    QFile::setPermissions(dir.filePath("xchm"), QFile::ReadOwner | QFile::ExeOwner);
    qputenv("PATH", dir.path().toLocal8Bit() + ":" + path);
    HelpWnd::StartDocumentation("/opt/my zeft", 4, nullptr);
    qputenv("PATH", path);
    QTRY_COMPARE(ReadFile(dir.filePath("xchm.arguments")),
                 QByteArray("--contextid=4\n/opt/my zeft/help/ZEFT_Documentation.chm\n"));
}

void TestHelp::KeepsTheFileOnShow()
{
    const QTemporaryDir dir;
    const QString first = dir.filePath("doc/first.htm");
    const QString second = dir.filePath("doc/second.htm");
    WriteFile(first, "x");
    WriteFile(second, "x");
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
    QCOMPARE(set("", false, false), QString());

    const WSP_BLK_HELP_STRUCT help = {{"second.htm", "first.htm"}};
    const WSP_BLK_HELP_STRUCT no_help;
    const WSP_BLK_INFO_STRUCT info[] = {{&help}, {&no_help}, {nullptr}};
    const WSP_BLK_ITEM_STRUCT blocks[] = {
        {dir.path(), &info[0]}, {dir.path(), &info[1]}, {dir.path(), &info[2]}};
    for (const auto *block :
         {&blocks[1], &blocks[2], static_cast<const WSP_BLK_ITEM_STRUCT *>(nullptr)}) {
        window.SetFile(&blocks[0]);
        QCOMPARE(window.m_currentFile, second);
        emit window.Signal_SetFile(block, false, false);
        QCOMPARE(window.m_currentFile, QString());
    }
}

QTEST_MAIN(TestHelp)
#include "test_help.moc"
