#include "common/common_helper.h"

#include <QProcessEnvironment>
#include <QtTest>

class TestProcessEnv : public QObject
{
    Q_OBJECT

private slots:
    void AddsLibraryFolders_data();
    void AddsLibraryFolders();
    void ExtendsVariables();
    void ExtendsPythonVariables_data();
    void ExtendsPythonVariables();
};

void TestProcessEnv::AddsLibraryFolders_data()
{
    QTest::addColumn<QString>("paths");
    QTest::addColumn<QString>("base_dir");
    QTest::addColumn<QString>("list");
    const QString folders = "/opt/x:/opt/x/lib:/opt/x/lib_dep_zeft:/opt/x/../lib:"
                            "/opt/x/../lib_dep_zeft:/opt/x/../../lib:/opt/x/../../lib_dep_zeft:";
    QTest::newRow("paths and a folder") << "/a;/b"
                                        << "/opt/x"
                                        << ":/a:/b:" + folders;
    QTest::newRow("a folder alone") << ""
                                    << "/opt/x"
                                    << ":" + folders;
    QTest::newRow("nothing") << ""
                             << ""
                             << ":";
    QTest::newRow("end mark is doubled") << "/a;"
                                         << ""
                                         << ":/a::";
    QTest::newRow("colons stay") << ":/a::/b"
                                 << ""
                                 << ":/a::/b:";
}

void TestProcessEnv::AddsLibraryFolders()
{
    QFETCH(QString, paths);
    QFETCH(QString, base_dir);
    QTEST(AddProcessEnvStdSearchPaths(paths, base_dir), "list");
}

void TestProcessEnv::ExtendsVariables()
{
    QProcessEnvironment env;
    env.insert("LD_LIBRARY_PATH", "/old");
    AddProcessEnvVar(&env, "/a;/b", "");
    QCOMPARE(env.value("PATH"), QString(":/a:/b::"));
    QCOMPARE(env.value("LD_LIBRARY_PATH"), QString(":/a:/b:/old:"));
    QVERIFY(!env.contains("PYTHONPATH"));
    AddProcessEnvVar(&env, "", "/x");
    QVERIFY(env.value("PATH").startsWith(":/x:/x/lib:"));
    QVERIFY(env.value("PATH").endsWith("/lib_dep_zeft::/a:/b:::"));
}

void TestProcessEnv::ExtendsPythonVariables_data()
{
    QTest::addColumn<QString>("paths");
    QTest::addColumn<bool>("prepend");
    QTest::addColumn<QString>("set");
    QTest::addColumn<QString>("unset");
    QTest::newRow("in front") << "/a;/b" << true << ":/a:/b:/old"
                              << ":/a:/b:";
    QTest::newRow("behind") << "/a;/b" << false << "/old:/a:/b:"
                            << ":/a:/b:";
    QTest::newRow("normal already") << ":/a:" << true << ":/a:/old"
                                    << ":/a:";
    QTest::newRow("nothing") << "" << true << "/old" << QString();
}

void TestProcessEnv::ExtendsPythonVariables()
{
    QFETCH(QString, paths);
    QFETCH(bool, prepend);
    QFETCH(QString, unset);
    QProcessEnvironment env;
    env.insert("PYTHONPATH", "/old");
    env.insert("LD_LIBRARY_PATH", "/old");
    AddProcessPythonEnvVar(&env, paths, prepend);
    QTEST(env.value("PYTHONPATH"), "set");
    QTEST(env.value("LD_LIBRARY_PATH"), "set");
    QTEST(env.value("PATH"), "unset");
    QCOMPARE(env.contains("PATH"), !unset.isNull());
}

QTEST_GUILESS_MAIN(TestProcessEnv)
#include "test_process_env.moc"
