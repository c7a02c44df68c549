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
    void ReadsPackages();
    void SetsTheInstallTarget();
    void TurnsDownUnsafeNames();
    void ReadsTheBuild();
    void ComparesTheBuildOnTheDisk();
};

void TestFormats::ChecksTheLists()
{
    const QByteArray marker = "//zeft_upt_fversions.info\r\n";
    const struct
    {
        bool packages;
        bool passes;
        QByteArray bytes;
        QStringList lines;
    } rows[] = {
        {false, true, marker, {}},
        {false, false, "a\r\nb\r\n", {"old"}},
        {false, false, "//zeft_upt_fversions.info\na\n", {"old"}},
        {false, true, "a" + marker + "b\r\n" + marker + "//x\r\n", {"ab", "//x"}},
        {false, true, marker + "\r\n\r\na\nb\r\n\r\n\xC3\xBC", {"a\nb", QChar(0xFC)}},
        {false, true, marker + QByteArray("a\r\nb\0c\r\nd", 9), {"a", "b"}},
        {true, true, "12#a\r\n8#b\r\n", {"12#a", "8#b"}},
        {true, false, "123#a\r\n8#b\r\n", {"old"}},
        {true, false, "<html>#</html>", {"old"}},
        {true, true, "", {}},
    };
    for (const auto &row : rows) {
        QStringList lines = {"old"};
        QVERIFY2((row.packages ? ReadPackageList(row.bytes, lines) : ReadFileList(row.bytes, lines))
                     == row.passes,
                 row.bytes);
        QCOMPARE(lines, row.lines);
    }
}

void TestFormats::MakesRecords()
{
    const QString fields = "a.zip core/version_latest 2024-05-01T1 5 7";
    const std::pair<const char *, QString> rows[] = {
        {"8#a.zip#core/version_latest#2024-05-01T1#5#7", fields},
        {"#12##a.zip#core/version_latest#2024-05-01T1##5#7", fields}, // empty fields drop out
        {"9#a.zip#core/version_latest#2024-05-01T1#5#7", ""},
        {"//8#a.zip#core/version_latest#2024-05-01T1#5#7", ""},
        {"8#b#c#d#1e3#x", "b c d 0 0"},
        {"8#b#c#d#99999999999#88888888888", "b c d 99999999999 88888888888"},
    };
    for (const auto &[line, made] : rows) {
        const auto record = RecordFromLine(line);
        const QStringList texts =
            record
                ? QStringList{record->file_name, record->remote_dir, record->time_stamp,
                              QString::number(record->file_size), QString::number(record->checksum)}
                : QStringList();
        QVERIFY2(texts.join(' ') == made, line);
    }
}

void TestFormats::ReadsPackages()
{
    const std::pair<const char *, QString> rows[] = {
        {"8#3#Board#x#a#b#p.htm", "3 Board a b p.htm"},
        {"8#3#####", "3    "}, // empty ones count
        {"8#3#Board#x#a#b", "no"},
        {"8#3#Board#x#a#b#p.htm#", "no"},
        {"8#x#Board#x#a#b#p.htm", "0 Board a b p.htm"},
    };
    for (const auto &[line, read] : rows) {
        PackageLine package;
        const bool is_read = ReadPackageLine(line, package);
        const QStringList texts = {QString::number(package.class_index), package.title,
                                   package.first_stem, package.second_stem, package.description};
        QVERIFY2((is_read ? texts.join(' ') : "no") == read, line);
    }
}

void TestFormats::SetsTheInstallTarget()
{
    const char *const stems[][2] = {
        {"a.hlib.zip", "a.hlib"},   {"a.tar.xz", "a"},   {"a.tar.gz", "a"},
        {"a.tar.bz2", "a"},         {"a.tar.7z", "a"},   {"a.tar", "a.tar"},
        {"a.zip.htc.zip", "a.htc"}, {".tar..zipxz", ""},
    };
    for (const auto &row : stems)
        QCOMPARE(ArchiveStem(row[0]), QString(row[1]));

    const char *const dirs[][2] = {
        {"core.tar.xz", "/r/core.tar"},
        {"zeft_bsp_x.hlib.zip", "/r/hardware/x"},
        {"zeft_bsp_x.htc.tar.xz", "/r/hardware/tools/x"},
        {"zeft_bsp_x.hlib.htc.zip", "/r/hardware/tools/x"},
        {"zeft_bsp_x", "/r/x"},
        {"my_zeft_bsp_x_zeft_bsp_y.zip", "/r/my_x_y"},
    };
    for (const auto &row : dirs) {
        QCOMPARE("/r" + InstallTargetOf(row[0]).Path(), QString(row[1]));
    }
}

void TestFormats::TurnsDownUnsafeNames()
{
    const QStringList unsafe = {"", "/", "..", ".", "../x.zip", "a/b.zip", "/etc.zip", "a\\b.zip",
                                QString("a") + QChar(0) + ".zip", QString("a") + QChar(0x2028),
                                // no directory of its own
                                ".zip", "..zip", "...zip", "zeft_bsp_.zip", "zeft_bsp_",
                                "zeft_bsp_.hlib.zip", ".zeft_bsp_x.zip",
                                // a file of the updater's
                                "a.zip.dnl", "hwd_doc.zip", "hwd_doc",
                                // a directory of the updater's, or one that holds others
                                "downloads.zip", "bin_lnx.zip", "zeft_bsp_downloads.tar.xz",
                                "hardware.zip", "zeft_bsp_hardware.zip", "zeft_bsp_tools.hlib.zip"};
    for (const QString &name : unsafe)
        QVERIFY2(!IsInstallable(name), qPrintable(name));
    for (const char *name : {"a", "....zip", "zeft_bsp_x.hlib.zip", "zeft_bsp_downloads.hlib.zip",
                             "tools.zip", "zeft_bsp_tools.htc.zip", "a b.cab"})
        QVERIFY2(IsInstallable(name), name);
}

void TestFormats::ReadsTheBuild()
{
    const std::pair<QByteArray, const char *> rows[] = {
        {"name: x\r\nbuild : \t2024-05-01 \r\nsize: 3\r\n", "2024-05-01"},
        {"x\r\nbuild:2024.05.01", "2024-05-01"},
        {"build:2024.05.01\nx:1", "2024-05-01\nx:1"}, // a bare line feed ends no line
        {"build:2024.05.01\n", "2024-05-01"},
        {"// build notes\r\nbuild:1\r\n", "build notes"},
        {"rebuild 1.2\r\n", "build 1-2"},
        {QByteArray("build:1.2\0.3\r\n", 14), "1-2"},
        {"Build:1\r\n", ""},
        {"", ""},
    };
    for (const auto &[bytes, build] : rows)
        QVERIFY2(BuildFromVersionInfo(bytes) == build, bytes);
}

void TestFormats::ComparesTheBuildOnTheDisk()
{
    const char *const date = "2024-05-01";
    const struct
    {
        const char *file; // null: no directory
        QByteArray content;
        const char *version;
        InstalledBuild build;
    } rows[] = {
        {nullptr, "", date, InstalledBuild::Missing},
        {"other", "", date, InstalledBuild::Other},
        {"version.info", "build:2024.05.01", date, InstalledBuild::This},
        {"version.info", "build:2024.06.01", date, InstalledBuild::Other},
        {"version.info", "build:2024.05.01\r\n" + QByteArray(1000000, 'x'), date,
         InstalledBuild::Other},
        {"version.info", "x", "", InstalledBuild::Other},
        {"version.info/x", "", "", InstalledBuild::Other},
    };
    for (const auto &row : rows) {
        const QTemporaryDir root;
        if (row.file)
            WriteFile(root.filePath(QString("c/") + row.file), row.content);
        QVERIFY2(CompareBuild(root.filePath("c"), row.version) == row.build, row.content);
    }
}

ZEFT_TEST(TestFormats)
#include "test_formats.moc"
