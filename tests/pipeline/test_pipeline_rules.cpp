#include "app/mainwindow_helper.h"
#include "pipeline/extractor.h"
#include "support/test.h"

class TestPipelineRules : public QObject
{
    Q_OBJECT

private slots:
    void TellsTheExtractorHowToUnpack();
    void FindsTheLastPercent();
    void FollowsARun();
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

ZEFT_TEST(TestPipelineRules)
#include "test_pipeline_rules.moc"
