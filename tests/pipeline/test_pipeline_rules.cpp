#include "app/mainwindow_helper.h"
#include "pipeline/extractor.h"
#include "pipeline/versioninfo.h"
#include "support/installation.h"

#include <QtTest>

class TestPipelineRules : public QObject
{
    Q_OBJECT

private slots:
    void TellsTheExtractorWhatToDo();
    void FindsTheLastPercent_data();
    void FindsTheLastPercent();
    void ReadsTheBuild_data();
    void ReadsTheBuild();
    void TellsTheStatusFromTheDisk_data();
    void TellsTheStatusFromTheDisk();
};

void TestPipelineRules::TellsTheExtractorWhatToDo()
{
    const char *const commands[][2] = {
        {"a.zip", "#uzip"},    {"a.cab", "#uzip"},    {"a.tar", "#uzip"},
        {"a.TAR.gz", "#uzip"}, {"a.tar.gz", "#xtar"}, {"a.tar.hlib.zip", "#xtar"},
    };
    for (const auto &command : commands)
        QCOMPARE(UnpackArguments(command[0], "/d d", "/r"),
                 QStringList({command[1], QString("#/d d/") + command[0], "#/r"}));
    QCOMPARE(ScriptArguments("/r/c"),
             QStringList({"#rscript", "#/r/c/zeft_install.sh", "#/r/c", "#mclose"}));
    QCOMPARE(DeleteArguments("/r/c"), QStringList({"#ddir", "#/r/c"}));
}

void TestPipelineRules::FindsTheLastPercent_data()
{
    const struct
    {
        const char *name;
        QByteArray output;
        int percent; // -1: none
    } rows[] = {
        {"one", " 42%\n", 42},
        {"the last of several", "  1%\n  2%\n100%\n", 100},
        {"half a line behind it", " 42%\n 43", 42},
        {"nothing", "", -1},
        {"no percent", "working\n", -1},
        {"fewer than three characters before it", "7%\n", -1},
        {"no number before it", "abc%\n", 0},
        {"the last one has too little, and counts", "9%", -1},
        {"a NUL ends the output", QByteArray(" 42%\0 77%", 9), 42},
        {"a negative one", " -3%", -3},
    };
    QTest::addColumn<QByteArray>("output");
    QTest::addColumn<int>("percent");
    for (const auto &row : rows)
        QTest::newRow(row.name) << row.output << row.percent;
}

void TestPipelineRules::FindsTheLastPercent()
{
    QFETCH(const QByteArray, output);
    QFETCH(const int, percent);
    int found = -1;
    const bool any = LastPercent(output, found);
    QCOMPARE(any, percent != -1);
    QCOMPARE(found, percent);
}

void TestPipelineRules::ReadsTheBuild_data()
{
    const struct
    {
        const char *name;
        QByteArray bytes;
        const char *build;
    } rows[] = {
        {"dots", "build:2024.05.01\r\n", "2024-05-01"},
        {"dashes and blanks", "name: x\r\nbuild : \t2024-05-01 \r\nsize: 3\r\n", "2024-05-01"},
        {"end of the file", "x\r\nbuild:2024.05.01", "2024-05-01"},
        {"a bare line feed ends nothing", "build:2024.05.01\nx:1", "2024-05-01\nx:1"},
        {"line feed at the end is white space", "build:2024.05.01\n", "2024-05-01"},
        {"the first one, also in a comment", "// build notes\r\nbuild:1\r\n", "build notes"},
        {"no separator", "rebuild 1.2\r\n", "build 1-2"},
        {"a NUL ends the file", QByteArray("build:1.2\0.3\r\n", 14), "1-2"},
        {"other case", "Build:1\r\n", ""},
        {"empty", "", ""},
    };
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("build");
    for (const auto &row : rows)
        QTest::newRow(row.name) << row.bytes << row.build;
}

void TestPipelineRules::ReadsTheBuild()
{
    QFETCH(const QByteArray, bytes);
    QTEST(BuildFromVersionInfo(bytes), "build");
}

void TestPipelineRules::TellsTheStatusFromTheDisk_data()
{
    const struct
    {
        const char *name;
        const char *file; // "": the directory alone
        QByteArray content;
        const char *version;
        int status;
    } rows[] = {
        {"no directory", nullptr, "", "2024-05-01", RecordStatus::NotInstalled},
        {"empty directory", "", "", "2024-05-01", RecordStatus::UpdateAvailable},
        {"same build", "version.info", "build:2024.05.01", "2024-05-01", RecordStatus::Installed},
        {"older", "version.info", "build:2024.04.01", "2024-05-01", RecordStatus::UpdateAvailable},
        {"newer", "version.info", "build:2024.06.01", "2024-05-01", RecordStatus::UpdateAvailable},
        {"no build", "version.info", "x", "2024-05-01", RecordStatus::UpdateAvailable},
        {"neither has one", "version.info", "x", "", RecordStatus::UpdateAvailable},
        {"a directory of that name", "version.info/x", "", "", RecordStatus::UpdateAvailable},
    };
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("version");
    QTest::addColumn<int>("status");
    for (const auto &row : rows)
        QTest::newRow(row.name) << QString(row.file) << row.content << row.version << row.status;
}

void TestPipelineRules::TellsTheStatusFromTheDisk()
{
    QFETCH(const QString, file);
    QFETCH(const QByteArray, content);
    QFETCH(const QString, version);
    const QTemporaryDir root;
    if (!file.isNull())
        WriteFile(root.filePath("c/" + (file.isEmpty() ? "other" : file)), content);
    QTEST(StatusOnDisk(root.path(), "c", version), "status");
}

QTEST_GUILESS_MAIN(TestPipelineRules)
#include "test_pipeline_rules.moc"
