#include "app/mainwindow_helper.h"
#include "pipeline/extractor.h"
#include "pipeline/versioninfo.h"
#include "support/installation.h"

#include <QProcess>
#include <QtTest>

class TestPipelineRules : public QObject
{
    Q_OBJECT

private slots:
    void TellsTheExtractorHowToUnpack();
    void FindsTheLastPercent();
    void FollowsARun();
    void ReadsTheBuild();
    void TellsTheStatusFromTheDisk();
};

void TestPipelineRules::TellsTheExtractorHowToUnpack()
{
    const char *const commands[][2] = {
        {"a.cab", "#uzip"},    {"a.tar", "#uzip"},    {"a.tar.hlib.zip", "#xtar"},
        {"a.TAR.gz", "#uzip"}, {"a.tar.gz", "#xtar"},
    };
    for (const auto &command : commands)
        QCOMPARE(UnpackArguments(command[0], "/d d", "/r"),
                 QStringList({command[1], QString("#/d d/") + command[0], "#/r"}));
}

void TestPipelineRules::FindsTheLastPercent()
{
    const std::pair<QByteArray, int> rows[] = {
        {"  1%\n  2%\n100%\n", 100},
        {" 42%\n 43", 42},
        {"", -1},
        {"working\n", -1},
        {"7%\n", -1},
        {"abc%\n", 0},
        {" -3%", -3},
        {QByteArray(" 42%\0 77%", 9), 42}, // a NUL ends the output
    };
    for (const auto &[output, percent] : rows) {
        int found = -1;
        QVERIFY2(LastPercent(output, found) == (percent != -1), output);
        QCOMPARE(found, percent);
    }
}

void TestPipelineRules::FollowsARun()
{
    const int none = std::numeric_limits<int>::min();
    const struct
    {
        const char *printed;
        int floor;
        int progress;
    } rows[] = {{"  4%", 5, 5}, {"999%", 5, 999}, {"  4%", none, 4}, {" -3%", none, -3}};
    for (const auto &row : rows) {
        DN_FILE_STRUCT record;
        record.progress = 42;
        QProcess run;
        run.start("sh",
                  {"-c", QString("printf '%1'; read line").arg(row.printed).replace("%'", "%%'")});
        QTRY_VERIFY(!FollowRun(&run, &record, row.floor) && record.progress != 42);
        QCOMPARE(record.progress, row.progress);
        run.closeWriteChannel();
        QTRY_VERIFY(FollowRun(&run, &record, row.floor));
    }
}

void TestPipelineRules::ReadsTheBuild()
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

void TestPipelineRules::TellsTheStatusFromTheDisk()
{
    const struct
    {
        const char *file; // null: no directory
        QByteArray content;
        const char *version;
        int status;
    } rows[] = {
        {nullptr, "", "2024-05-01", RecordStatus::NotInstalled},
        {"other", "", "2024-05-01", RecordStatus::UpdateAvailable},
        {"version.info", "build:2024.05.01", "2024-05-01", RecordStatus::Installed},
        {"version.info", "build:2024.06.01", "2024-05-01", RecordStatus::UpdateAvailable},
        {"version.info", "build:2024.05.01\r\n" + QByteArray(1000000, 'x'), "2024-05-01",
         RecordStatus::UpdateAvailable},
        {"version.info", "x", "", RecordStatus::UpdateAvailable},
        {"version.info/x", "", "", RecordStatus::UpdateAvailable},
    };
    for (const auto &row : rows) {
        const QTemporaryDir root;
        if (row.file)
            WriteFile(root.filePath(QString("c/") + row.file), row.content);
        QVERIFY2(StatusOnDisk(root.path(), "c", row.version) == row.status, row.content);
    }
}

QTEST_GUILESS_MAIN(TestPipelineRules)
#include "test_pipeline_rules.moc"
