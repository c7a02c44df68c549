#include "app/mainwindow_helper.h"
#include "catalogue/endpoints.h"
#include "catalogue/manifests.h"

#include <QSysInfo>
#include <QtTest>

class TestManifests : public QObject
{
    Q_OBJECT

private slots:
    void ChecksTheFileList_data();
    void ChecksTheFileList();
    void ChecksThePackageList_data();
    void ChecksThePackageList();
    void MakesRecords_data();
    void MakesRecords();
    void ReadsPackages_data();
    void ReadsPackages();
    void DeletesArchiveExtensions();
    void SetsTheInstallTarget_data();
    void SetsTheInstallTarget();
    void TurnsDownUnsafeNames();
    void ChoosesTheEndpoint();
};

namespace {
const QByteArray kMarker = "//zeft_upt_fversions.info\r\n";
}

void TestManifests::ChecksTheFileList_data()
{
    const struct
    {
        const char *name;
        QByteArray bytes;
        bool passes;
        QStringList lines;
    } rows[] = {
        {"marker and lines", kMarker + "a\r\nb\r\n", true, {"a", "b"}},
        {"marker alone", kMarker, true, {}},
        {"no marker", "a\r\nb\r\n", false, {"old"}},
        {"bare line feeds", "//zeft_upt_fversions.info\na\n", false, {"old"}},
        {"marker in the middle, twice", "a" + kMarker + "b\r\n" + kMarker, true, {"ab"}},
        {"blank lines", kMarker + "\r\n\r\na\r\n\r\nb", true, {"a", "b"}},
        {"a bare line feed ends no line", kMarker + "a\nb\r\nc", true, {"a\nb", "c"}},
        {"a NUL ends the text", kMarker + QByteArray("a\r\nb\0c\r\nd", 9), true, {"a", "b"}},
        {"UTF-8", kMarker + "\xC3\xBC\r\n", true, {QString(QChar(0xFC))}},
        {"another comment is a line", kMarker + "//x\r\n", true, {"//x"}},
    };
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("passes");
    QTest::addColumn<QStringList>("lines");
    for (const auto &row : rows)
        QTest::newRow(row.name) << row.bytes << row.passes << row.lines;
}

void TestManifests::ChecksTheFileList()
{
    QFETCH(const QByteArray, bytes);
    QStringList read = {"old"};
    QTEST(ReadFileList(bytes, read), "passes");
    QTEST(read, "lines");
}

void TestManifests::ChecksThePackageList_data()
{
    const struct
    {
        const char *name;
        QByteArray bytes;
        bool passes;
        QStringList lines;
    } rows[] = {
        {"code of two digits", "12#a\r\n8#b\r\n", true, {"12#a", "8#b"}},
        {"sign in front", "#a", true, {"#a"}},
        {"sign too late", "123#a\r\n8#b\r\n", false, {"old"}},
        {"a page in place of a list", "<html>#</html>", false, {"old"}},
        {"no sign at all", "hello\r\n", true, {"hello"}},
        {"empty", "", true, {}},
    };
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("passes");
    QTest::addColumn<QStringList>("lines");
    for (const auto &row : rows)
        QTest::newRow(row.name) << row.bytes << row.passes << row.lines;
}

void TestManifests::ChecksThePackageList()
{
    QFETCH(const QByteArray, bytes);
    QStringList read = {"old"};
    QTEST(ReadPackageList(bytes, read), "passes");
    QTEST(read, "lines");
}

void TestManifests::MakesRecords_data()
{
    const bool arm = QSysInfo::currentCpuArchitecture() == "arm64";
    const bool x86 = QSysInfo::currentCpuArchitecture() == "x86_64";
    const QStringList fields = {"a.zip", "core/version_latest", "2024-05-01T1", "5", "7"};
    const struct
    {
        const char *name;
        const char *line;
        bool made;
    } rows[] = {
        {"six fields", "8#a.zip#core/version_latest#2024-05-01T1#5#7", true},
        {"more than six", "10#a.zip#core/version_latest#2024-05-01T1#5#7#8#9", true},
        {"empty fields drop out", "#12##a.zip#core/version_latest#2024-05-01T1##5#7", true},
        {"an empty field moves the rest", "8##core/version_latest#2024-05-01T1#5#7", false},
        {"five fields", "8#a.zip#core/version_latest#2024-05-01T1#5", false},
        {"x86_64", "6#a.zip#core/version_latest#2024-05-01T1#5#7", x86},
        {"arm64", "7#a.zip#core/version_latest#2024-05-01T1#5#7", arm},
        {"no platform", "9#a.zip#core/version_latest#2024-05-01T1#5#7", false},
        {"a comment", "//8#a.zip#core/version_latest#2024-05-01T1#5#7", false},
    };
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("fields");
    for (const auto &row : rows)
        QTest::newRow(row.name) << row.line << (row.made ? fields : QStringList());
    QTest::newRow("sizes that are no numbers")
        << "8#b#c#d#1e3#x" << QStringList{"b", "c", "d", "0", "0"};
    QTest::newRow("sizes of 64 bits") << "8#b#c#d#99999999999#88888888888"
                                      << QStringList{"b", "c", "d", "99999999999", "88888888888"};
}

void TestManifests::MakesRecords()
{
    QFETCH(const QString, line);
    QStringList made;
    if (const auto record = RecordFromLine(line)) {
        made = QStringList{record->file_name, record->remote_dir, record->time_stamp,
                           QString::number(record->file_size), QString::number(record->checksum)};
        QCOMPARE(record->status, 0);
        QVERIFY((record->version + record->local_dir + record->install_dir).isEmpty());
    }
    QTEST(made, "fields");
}

void TestManifests::ReadsPackages_data()
{
    const struct
    {
        const char *name;
        const char *line;
        bool read;
        int class_index;
    } rows[] = {
        {"all fields", "8#3#Board#x#a#b#p.htm", true, 3},
        {"empty fields count", "8#3#####", true, 3},
        {"six fields", "8#3#Board#x#a#b", false, -1},
        {"eight fields", "8#3#Board#x#a#b#p.htm#", false, -1},
        {"no platform", "0#3#Board#x#a#b#p.htm", false, -1},
        {"a class that is no number", "8#x#Board#x#a#b#p.htm", true, 0},
    };
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("read");
    QTest::addColumn<int>("class_index");
    for (const auto &row : rows)
        QTest::newRow(row.name) << row.line << row.read << row.class_index;
}

void TestManifests::ReadsPackages()
{
    QFETCH(const QString, line);
    PackageLine package;
    QTEST(ReadPackageLine(line, package), "read");
    QTEST(package.class_index, "class_index");
    const QStringList fields = line.split('#');
    if (package.class_index >= 0)
        QCOMPARE(QStringList(package.title) + package.stems + QStringList(package.page),
                 QStringList({fields[2], fields[4], fields[5], fields[6]}));
}

void TestManifests::DeletesArchiveExtensions()
{
    const QStringList names = {"a.hlib.zip", "a.tar.xz", "a.tar.gz",      "a.tar.bz2",
                               "a.tar.7z",   "a.tar",    "a.zip.htc.zip", ".tar..zipxz"};
    const QStringList stems = {"a.hlib", "a", "a", "a", "a", "a.tar", "a.htc", ""};
    for (int i = 0; i < names.size(); ++i)
        QCOMPARE(ArchiveStem(names[i]), stems[i]);
}

void TestManifests::SetsTheInstallTarget_data()
{
    QTest::addColumn<QString>("dir");
    const char *const rows[][2] = {
        {"core.zip", "/r/core"},
        {"core.tar.xz", "/r/core.tar"},
        {"zeft_bsp_x.hlib.zip", "/r/hardware/x"},
        {"zeft_bsp_x.htc.tar.xz", "/r/hardware/tools/x"},
        {"zeft_bsp_x.hlib.htc.zip", "/r/hardware/tools/x"},
        {"zeft_bsp_x.zip", "/r/x"},
        {"zeft_bsp_x", "/r/x"},
        {"zeft_bspx.hlib.zip", "/r/hardware/zeft_bspx"},
        {"my_zeft_bsp_x_zeft_bsp_y.zip", "/r/my_x_y"},
        {"x.hlib.zip", "/r/x.hlib"},
        {"Zeft_bsp_x.hlib.zip", "/r/Zeft_bsp_x.hlib"},
    };
    for (const auto &row : rows)
        QTest::newRow(row[0]) << QString(row[1]);
}

void TestManifests::SetsTheInstallTarget()
{
    DN_FILE_STRUCT record;
    record.file_name = QTest::currentDataTag();
    SetInstallTarget(record, "/r");
    QTEST(ComponentDir(record), "dir");
}

void TestManifests::TurnsDownUnsafeNames()
{
    const QStringList unsafe = {"", "/", "..", ".", "../x.zip", "a/b.zip", "/etc.zip", "a\\b.zip",
                                QString("a") + QChar(0) + ".zip",
                                // no directory of its own
                                ".zip", "..zip", "...zip", "zeft_bsp_.zip", "zeft_bsp_",
                                "zeft_bsp_.hlib.zip", ".zeft_bsp_x.zip",
                                // a directory of the updater's, or one that holds others
                                "downloads.zip", "bin_lnx.zip", "zeft_bsp_downloads.tar.xz",
                                "hardware.zip", "zeft_bsp_hardware.zip", "zeft_bsp_tools.hlib.zip"};
    for (const QString &name : unsafe)
        QVERIFY2(!IsInstallable(name), qPrintable(name));
    for (const char *name : {"a", "....zip", "zeft_bsp_x.hlib.zip", "zeft_bsp_downloads.hlib.zip",
                             "tools.zip", "zeft_bsp_tools.htc.zip", "a b.cab"})
        QVERIFY2(IsInstallable(name), name);
}

void TestManifests::ChoosesTheEndpoint()
{
    const QString primary = PrimaryRepositoryUrl();
    const QString alternate = AlternateRepositoryUrl();
    QVERIFY(primary != alternate && !primary.endsWith('/') && !alternate.endsWith('/'));
    QCOMPARE(RepositoryUrl("https://x", false), QString("https://x"));
    QCOMPARE(RepositoryUrl(primary, false), primary);
    QCOMPARE(RepositoryUrl(primary, true), alternate);
    QCOMPARE(RepositoryUrl(alternate, true), primary);
    QCOMPARE(RepositoryUrl(primary + "/", true), primary);
}

QTEST_GUILESS_MAIN(TestManifests)
#include "test_manifests.moc"
