#include "common/common_helper.h"

#include <QtTest>
#include <ctime>

class TestFilePath : public QObject
{
    Q_OBJECT

private slots:
    void TakesPathsApart_data();
    void TakesPathsApart();
    void DropsTheExtension_data();
    void DropsTheExtension();
    void StampsFiles_data();
    void StampsFiles();
    void MakesAndDeletes();
    void Renames();
    void AnswersForMissingPaths();
};

namespace {

/// Makes \a path in the temporary folder \a dir a file that holds "abc".
QString MadeFile(const QTemporaryDir &dir, const QString &path)
{
    WriteFileData(dir.filePath(path), "abc");
    return dir.filePath(path);
}

} // namespace

void TestFilePath::TakesPathsApart_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("extension");
    QTest::newRow("/a/b.tar.gz") << "/a"
                                 << "b.tar.gz"
                                 << "gz";
    QTest::newRow("a.b/c") << "a.b"
                           << "c"
                           << "";
    QTest::newRow("/x") << ""
                        << "x"
                        << "";
    QTest::newRow("x.") << ""
                        << "x."
                        << "";
    QTest::newRow("/") << ""
                       << "/"
                       << "";
    QTest::newRow("a/b/") << "a/b"
                          << "a/b/"
                          << "";
    QTest::newRow("a//b") << "a/"
                          << "b"
                          << "";
    QTest::newRow("") << ""
                      << ""
                      << "";
}

void TestFilePath::TakesPathsApart()
{
    const QString path = QTest::currentDataTag();
    QTEST(ExtractFilePath(path), "folder");
    QTEST(ExtractParentPath(path), "folder");
    QTEST(ExtractFileName(path), "name");
    QTEST(ExtractEndFolder(path), "name");
    QTEST(ExtractFileExtension(path), "extension");
}

void TestFilePath::DropsTheExtension_data()
{
    QTest::addColumn<QString>("bare");
    QTest::addColumn<QString>("with_dir");
    QTest::newRow("a/b/c.tar.gz") << "c.tar"
                                  << "a/b/c.tar";
    QTest::newRow("/a/b.zip") << "b"
                              << "/a/b";
    QTest::newRow("b") << "b"
                       << "b";
    QTest::newRow("/b.zip") << "b"
                            << "b";
    QTest::newRow("./b.zip") << "b"
                             << "b";
    QTest::newRow("../b.zip") << "b"
                              << "b";
    QTest::newRow("./a/b.zip") << "b"
                               << "./a/b";
    QTest::newRow("a.d/b") << "b"
                           << "a.d/b";
}

void TestFilePath::DropsTheExtension()
{
    const QString path = QTest::currentDataTag();
    QTEST(ExtractFileNameWithoutExtension(path, false), "bare");
    QTEST(ExtractFileNameWithoutExtension(path, true), "with_dir");
}

void TestFilePath::StampsFiles_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<QString>("moment");
    QTest::addColumn<bool>("no_milliseconds");
    QTest::addColumn<bool>("local_time");
    QTest::addColumn<bool>("keep_time_spec");
    QTest::addColumn<QString>("stamp");
    const QByteArray india = "IST-5:30";
    const QString noon = "2024-05-01T12:30:45.123Z";
    QTest::newRow("true moment in UTC") << india << noon << false << true << false << noon;
    QTest::newRow("without milliseconds")
        << india << noon << true << true << false << "2024-05-01T12:30:45Z";
    QTest::newRow("local digits called UTC")
        << india << noon << false << false << false << "2024-05-01T18:00:45.123Z";
    QTest::newRow("local digits called UTC, kept")
        << india << noon << true << false << true << "2024-05-01T18:00:45Z";
    QTest::newRow("local time") << india << noon << false << true << true
                                << "2024-05-01T18:00:45.123";
    // The hour that the clock shows twice at the end of summer time.
    const QByteArray berlin = "CET-1CEST,M3.5.0,M10.5.0/3";
    for (const char *moment : {"2024-10-27T00:30:00Z", "2024-10-27T01:30:00Z"})
        QTest::newRow(moment) << berlin << moment << true << true << false << moment;
}

void TestFilePath::StampsFiles()
{
    QFETCH(QByteArray, zone);
    QFETCH(QString, moment);
    QFETCH(bool, no_milliseconds);
    QFETCH(bool, local_time);
    QFETCH(bool, keep_time_spec);
    const QByteArray old_zone = qgetenv("TZ");
    const bool had_zone = qEnvironmentVariableIsSet("TZ");
    const auto restore = qScopeGuard([&] {
        had_zone ? qputenv("TZ", old_zone) : qunsetenv("TZ");
        tzset();
    });
    qputenv("TZ", zone);
    tzset();

    QTemporaryFile file;
    QVERIFY(file.open());
    QVERIFY(file.setFileTime(QDateTime::fromString(moment, Qt::ISODateWithMs),
                             QFileDevice::FileModificationTime));
    QTEST(GetFileModifiedDateTime(file.fileName(), no_milliseconds, local_time, keep_time_spec),
          "stamp");
}

void TestFilePath::MakesAndDeletes()
{
    const QTemporaryDir dir;
    const QString a = dir.filePath("a");
    QVERIFY(!MakeDir(dir.path(), "a/b"));
    QVERIFY(MakePath(dir.path(), "a/b"));
    QVERIFY(MakePath(dir.path(), "a/b"));
    QVERIFY(!MakeDir(a, "b"));
    QVERIFY(MakeDir(a, "c"));
    const QString file = MadeFile(dir, "a/c/f");
    QVERIFY(IsFolderPresent(a, "b") && IsFolderPresent(a + "/b") && IsFilePresent(a + "/b"));
    QVERIFY(IsFilePresent(file));
    QCOMPARE(GetFileSizeInBytes(file), qint64(3));

    QVERIFY(!DeleteFile(a + "/b"));
    QVERIFY(DeleteFile(file) && !IsFilePresent(file));
    MadeFile(dir, "a/c/f");
    QVERIFY(DeleteDirectoryContents(a));
    QVERIFY(IsFolderPresent(a) && QDir(a).isEmpty());
    QVERIFY(DeleteDirectoryContents(dir.filePath("new/folder")));
    QVERIFY(IsFolderPresent(dir.filePath("new/folder")));
    QVERIFY(DeleteDirectory(dir.filePath("new")) && !IsFolderPresent(dir.path(), "new"));

    // Neither a file nor the working folder is a folder that may be emptied.
    MadeFile(dir, "f");
    QVERIFY(DeleteDirectory(dir.filePath("f")) && !DeleteDirectoryContents(dir.filePath("f")));
    QVERIFY(IsFilePresent(dir.filePath("f")));
    const QString working_folder = QDir::currentPath();
    QDir::setCurrent(dir.path());
    QVERIFY(!DeleteDirectory(QString()) && !DeleteDirectoryContents(QString()));
    QVERIFY(IsFolderPresent("/f")); // an entry of the root is sought here
    QDir::setCurrent(working_folder);
}

void TestFilePath::Renames()
{
    const QTemporaryDir dir;
    const QString partial = MadeFile(dir, "x.zip.dnl");
    QCOMPARE(RenameFileFolderHelper(partial, "x.zip"), dir.filePath("x.zip"));
    QVERIFY(IsFilePresent(dir.filePath("x.zip")) && !IsFilePresent(partial));

    QCOMPARE(RenameFileFolderHelper(partial, "y"), QString());
    QCOMPARE(RenameFileFolderHelper(MadeFile(dir, "y"), "x.zip"), QString());
    QVERIFY(IsFilePresent(dir.filePath("y")));
}

void TestFilePath::AnswersForMissingPaths()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath("missing");
    QVERIFY(!IsFilePresent(path) && !IsFolderPresent(path) && !DeleteFile(path));
    QCOMPARE(GetFileSizeInBytes(path), qint64(0));
    QCOMPARE(GetFileModifiedDateTime(path, false, true, false), QString());
}

QTEST_GUILESS_MAIN(TestFilePath)
#include "test_file_path.moc"
