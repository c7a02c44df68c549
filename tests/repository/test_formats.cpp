#include "Repository/manifests.h"
#include "Repository/names.h"
#include "Repository/version_info.h"
#include "catalogue/records.h"
#include "support/installation.h"
#include "support/test.h"

class TestFormats : public QObject
{
    Q_OBJECT

private slots:
    void ChecksTheLists();
    void MakesRecords();
    void SetsTheInstallTarget();
    void RefusesUnsafeNames();
    void ReadsTheBuild();
    void ComparesTheBuildOnTheDisk();
};

void TestFormats::ChecksTheLists()
{
    const QStringList refused = {"old"};
    const auto row = [&](const QString &name, const auto &read, const QByteArray &bytes,
                         const QStringList &expected) {
        QStringList lines = refused;
        Row(name, read(bytes, lines), expected != refused);
        Row(name, lines, expected);
    };
    const QByteArray marker = "//zeft_upt_fversions.info\r\n";
    row("no marker", ReadFileList, "a\r\nb\r\n", refused);
    row("marker without its line end", ReadFileList, "//zeft_upt_fversions.info\na\n", refused);
    row("more than one marker", ReadFileList, "a" + marker + "b\r\n" + marker + "//x\r\n",
        {"ab", "//x"});
    row("empty lines, bare line feeds and UTF-8", ReadFileList,
        marker + "\r\n\r\na\nb\r\n\r\n\xC3\xBC", {"a\nb", QChar(0xFC)});
    row("NUL", ReadFileList, marker + QByteArray("a\r\nb\0c\r\nd", 9), {"a", "b"});
    row("code of two digits", ReadPackageList, "12#a\r\n8#b\r\n", {"12#a", "8#b"});
    row("code of three digits", ReadPackageList, "123#a\r\n8#b\r\n", refused);
    row("no packages", ReadPackageList, "", {});
}

void TestFormats::MakesRecords()
{
    const auto row = [](const QString &name, const QString &line, const QString &made) {
        const auto record = RecordFromLine(line);
        QStringList texts;
        if (record) {
            texts =
                QStringList{record->file_name, record->remote_dir, record->time_stamp,
                            QString::number(record->file_size), QString::number(record->checksum)};
        }
        Row(name, texts.join(' '), made);
    };
    row("empty fields", "#12##a.zip#core/version_latest#2024-05-01T1##5#7",
        "a.zip core/version_latest 2024-05-01T1 5 7");
    row("foreign platform", "9#a.zip#core/version_latest#2024-05-01T1#5#7", "");
    row("no numbers", "8#b#c#d#1e3#x", "b c d 0 0");
    row("beyond 32 bits", "8#b#c#d#99999999999#88888888888", "b c d 99999999999 88888888888");
}

void TestFormats::SetsTheInstallTarget()
{
    const char *const stems[][2] = {
        {"a.hlib.zip", "a.hlib"},   {"a.tar.xz", "a"},   {"a.tar.gz", "a"},
        {"a.tar.bz2", "a"},         {"a.tar.7z", "a"},   {"a.tar", "a.tar"},
        {"a.zip.htc.zip", "a.htc"}, {".tar..zipxz", ""},
    };
    for (const auto &row : stems)
        Row(row[0], ArchiveStem(row[0]), row[1]);

    const char *const dirs[][2] = {
        {"core.tar.xz", "/r/core.tar"},
        {"zeft_bsp_x.hlib.zip", "/r/hardware/x"},
        {"zeft_bsp_x.htc.tar.xz", "/r/hardware/tools/x"},
        {"zeft_bsp_x.hlib.htc.zip", "/r/hardware/tools/x"},
        {"zeft_bsp_x", "/r/x"},
        {"my_zeft_bsp_x_zeft_bsp_y.zip", "/r/my_x_y"},
    };
    for (const auto &row : dirs)
        Row(row[0], "/r" + InstallTargetOf(row[0]).Path(), row[1]);
}

void TestFormats::RefusesUnsafeNames()
{
    const QStringList unsafe = {"", "..", ".", "a/b.zip", "a\\b.zip",
                                QString("a") + QChar(0) + ".zip", QString("a") + QChar(0x2028),
                                // no directory of its own
                                ".zip", "..zip", "...zip", "zeft_bsp_.zip", ".zeft_bsp_x.zip",
                                // a file of the updater's
                                "a.zip.dnl", "hwd_doc.zip", "hwd_doc",
                                // a directory of the updater's, or one that holds others
                                "downloads.zip", "bin_lnx.zip", "zeft_bsp_hardware.tar.xz",
                                "zeft_bsp_tools.hlib.zip"};
    for (const QString &name : unsafe)
        QVERIFY2(!IsInstallable(name), qPrintable(name));
    for (const char *name : {"a", "....zip", "zeft_bsp_x.hlib.zip", "zeft_bsp_downloads.hlib.zip",
                             "tools.zip", "zeft_bsp_tools.htc.zip", "a b.cab"})
        QVERIFY2(IsInstallable(name), name);
}

void TestFormats::ReadsTheBuild()
{
    const auto build = BuildFromVersionInfo;
    Row("blanks", build("name: x\r\nbuild : \t2024-05-01 \r\nsize: 3\r\n"), "2024-05-01");
    Row("no line end", build("x\r\nbuild:2024.05.01"), "2024-05-01");
    Row("bare line feed, then more", build("build:2024.05.01\nx:1"), "2024-05-01\nx:1");
    Row("first word of two", build("// build notes\r\nbuild:1\r\n"), "build notes");
    Row("NUL", build(QByteArray("build:1.2\0.3\r\n", 14)), "1-2");
    Row("capital letter", build("Build:1\r\n"), "");
}

void TestFormats::ComparesTheBuildOnTheDisk()
{
    const auto row = [](const QString &name, const QString &file, const QByteArray &content,
                        const QString &version, InstalledBuild build) {
        const QTemporaryDir root;
        if (!file.isEmpty())
            WriteFile(root.filePath("c/" + file), content);
        Row(name, CompareBuild(root.filePath("c"), version) == build, true);
    };
    const QString date = "2024-05-01";
    const QByteArray same = "build:2024.05.01";
    row("no directory", "", "", date, InstalledBuild::Missing);
    row("no version.info", "other", "", date, InstalledBuild::Other);
    row("same build", "version.info", same, date, InstalledBuild::This);
    row("too long", "version.info", same + "\r\n" + QByteArray(1000000, 'x'), date,
        InstalledBuild::Other);
    row("no version to compare", "version.info", "x", "", InstalledBuild::Other);
}

ZEFT_TEST(TestFormats)
#include "test_formats.moc"
