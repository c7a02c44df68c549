#include "app/mainwindow_helper.h"
#include "app/rootdirectory.h"

#include <QDir>
#include <QtTest>

#include <cmath>

class TestAppRules : public QObject
{
    Q_OBJECT

private slots:
    void FindsTheRoot_data();
    void FindsTheRoot();
    void ShowsTheStatus();
    void KeepsProgressWithinAPercent();
    void TakesTheDateForTheVersion();
};

void TestAppRules::FindsTheRoot_data()
{
    const QString cwd = QDir::currentPath();
    const struct
    {
        const char *name;
        QStringList arguments;
        QString root;
    } rows[] = {
        {"no argument", {"/opt/zeft/bin/updater"}, "/opt/zeft"},
        {"a path", {"#/srv/zeft"}, "/srv/zeft"},
        {"one dash", {"-#/srv/zeft"}, "/srv/zeft"},
        {"two dashes", {"--#/srv/zeft"}, "/opt/zeft"},
        {"the last one counts", {"#/a", "-", " ", "x", "-#/b"}, "/b"},
        {"blanks around it", {"  #/srv/my zeft \t"}, "/srv/my zeft"},
        {"nothing behind the sign", {"#/a", "#", "-#"}, "/a"},
        {"not clean", {"#/srv//x/../zeft/"}, "/srv/zeft"},
        {"the root of the file system", {"#/"}, ""},
        {"relative", {"#./sub/"}, cwd + "/sub"},
        {"the working directory", {"#."}, cwd},
    };
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("root");
    for (const auto &row : rows)
        QTest::newRow(row.name) << row.arguments << row.root;
}

void TestAppRules::FindsTheRoot()
{
    QFETCH(const QStringList, arguments);
    QTEST(RootDirectory(arguments, "/opt/zeft/bin"), "root");
    QCOMPARE(RootDirectory({}, "/bin"), QString());
}

void TestAppRules::ShowsTheStatus()
{
    const QStringList texts = {"-",
                               "Error",
                               "-",
                               "Not Installed",
                               "Update Available",
                               "Download Pending",
                               "Downloading [37%]",
                               "Install Pending",
                               "Installing [37%]",
                               "Installed",
                               "Deleting",
                               "-"};
    for (int status = -2; status <= 9; ++status)
        QCOMPARE(StatusText(status, 37), texts[status + 2]);
}

void TestAppRules::KeepsProgressWithinAPercent()
{
    const struct
    {
        float percent;
        int progress;
    } rows[] = {{0.0F, 0},    {37.99F, 37}, {100.0F, 100}, {100.4F, 100},   {-1.0F, 0},
                {1e30F, 100}, {-1e30F, 0},  {NAN, 0},      {INFINITY, 100}, {-INFINITY, 0}};
    for (const auto &row : rows)
        QCOMPARE(ProgressFromPercent(row.percent), row.progress);
}

void TestAppRules::TakesTheDateForTheVersion()
{
    QCOMPARE(VersionFromTimeStamp("2024-05-01T12:30:45T"), QString("2024-05-01"));
    QCOMPARE(VersionFromTimeStamp("2024-05-01"), QString("2024-05-01"));
    QCOMPARE(VersionFromTimeStamp(""), QString());
}

QTEST_GUILESS_MAIN(TestAppRules)
#include "test_app_rules.moc"
