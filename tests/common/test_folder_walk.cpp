#include "common/common_helper.h"

#include <QtTest>

class TestFolderWalk : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void MakesPathsRelative_data();
    void MakesPathsRelative();
    void TellsPathsApart_data();
    void TellsPathsApart();
    void FindsAbsolutePaths();
    void ListsFiles_data();
    void ListsFiles();
    void ListsFolders();
    void FindsFiles_data();
    void FindsFiles();

private:
    QTemporaryDir
        m_dir; // A.txt, b.txt, c.bin, sub/a.txt, sub/deep/d.txt, z/; hidden ones and links
};

void TestFolderWalk::initTestCase()
{
    QVERIFY(QDir(m_dir.path()).mkpath("sub/deep") && QDir(m_dir.path()).mkpath("z/.hidden_folder"));
    for (const char *name :
         {"b.txt", "A.txt", "c.bin", ".hidden.txt", "sub/a.txt", "sub/deep/d.txt"})
        QVERIFY(WriteFileData(m_dir.filePath(name), "x"));
    QVERIFY(QFile::link(m_dir.path(), m_dir.filePath("sub/parent")));
    QVERIFY(QFile::link(m_dir.filePath("b.txt"), m_dir.filePath("sub/link.txt")));
}

void TestFolderWalk::MakesPathsRelative_data()
{
    QTest::addColumn<QString>("base");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("relative");
    QTest::newRow("every occurrence goes") << "/a"
                                           << "/a/b/a/c"
                                           << "b/c";
    QTest::newRow("one slash goes") << "/a"
                                    << "/a//b"
                                    << "/b";
    QTest::newRow("base isn't in it") << "/x"
                                      << "/a/b"
                                      << "/a/b";
    QTest::newRow("nothing is left") << "/a/b"
                                     << "/a/b"
                                     << "";
}

void TestFolderWalk::MakesPathsRelative()
{
    QFETCH(QString, base);
    QFETCH(QString, path);
    QTEST(GetRelativePath(base, path), "relative");
}

void TestFolderWalk::TellsPathsApart_data()
{
    QTest::addColumn<bool>("absolute");
    QTest::addColumn<bool>("has_folder");
    QTest::newRow("/") << false << true;
    QTest::newRow("/a") << true << true;
    QTest::newRow("c:") << true << false;
    QTest::newRow("http://host") << true << true;
    QTest::newRow("a/b") << false << true;
    QTest::newRow("a\\b") << false << true;
    QTest::newRow("CMakeLists.txt") << false << false;
    QTest::newRow(":") << false << false;
    QTest::newRow("") << false << false;
}

void TestFolderWalk::TellsPathsApart()
{
    QTEST(IsAbsolutePath(QTest::currentDataTag()), "absolute");
    QTEST(IsPathPresent(QTest::currentDataTag()), "has_folder");
}

void TestFolderWalk::FindsAbsolutePaths()
{
    const QString sub = m_dir.filePath("sub");
    const QStringList dirs{m_dir.filePath("missing"), sub, m_dir.path()};
    QCOMPARE(GetAbsolutePath(dirs, "a.txt"), sub + "/a.txt");
    QCOMPARE(GetAbsolutePath(dirs, "b.txt"), m_dir.filePath("b.txt"));
    QCOMPARE(GetAbsolutePath(dirs, "nowhere"), QString("nowhere"));
    QCOMPARE(GetAbsolutePath(dirs, "/b.txt"), QString("/b.txt"));
    QCOMPARE(GetAbsolutePath(dirs, ""), sub);
}

void TestFolderWalk::ListsFiles_data()
{
    QTest::addColumn<QStringList>("filters");
    QTest::addColumn<bool>("full_path");
    QTest::addColumn<bool>("recurse");
    QTest::addColumn<bool>("sort");
    QTest::addColumn<QStringList>("files"); // "%" stands for the folder
    QTest::newRow("one folder") << QStringList() << false << false << false
                                << QStringList({"M", "A.txt", "b.txt", "c.bin"});
    QTest::newRow("sub-folders come first")
        << QStringList() << true << true << false
        << QStringList({"M", "%/sub/deep/d.txt", "%/sub/a.txt", "%/A.txt", "%/b.txt", "%/c.bin"});
    QTest::newRow("sorted with what was there")
        << QStringList() << false << true << true
        << QStringList({"A.txt", "M", "a.txt", "b.txt", "c.bin", "d.txt"});
    QTest::newRow("filtered, at every level")
        << QStringList({"a*", "*.bin"}) << false << true << false
        << QStringList({"M", "a.txt", "A.txt", "c.bin"});
}

void TestFolderWalk::ListsFiles()
{
    QFETCH(QStringList, filters);
    QFETCH(bool, full_path);
    QFETCH(bool, recurse);
    QFETCH(bool, sort);
    QFETCH(QStringList, files);
    files.replaceInStrings("%", m_dir.path());
    QStringList out("M");
    GetDirectoryFileNames(m_dir.path(), filters, out, full_path, recurse, sort);
    QCOMPARE(out, files);
    if (filters.isEmpty()) {
        out = QStringList("M");
        GetDirectoryFileNames(m_dir.path(), out, full_path, recurse, sort);
        QCOMPARE(out, files);
    }
    GetDirectoryFileNames("", out, full_path, recurse, false);
    QCOMPARE(out, files);
}

void TestFolderWalk::ListsFolders()
{
    QStringList out("t");
    GetDirectorySubDirNames(m_dir.path(), out, false, true, false);
    QCOMPARE(out, QStringList({"t", "deep", "sub", "z"}));
    GetDirectorySubDirNames(m_dir.path(), out, false, false, true);
    QCOMPARE(out, QStringList({"deep", "sub", "sub", "t", "z", "z"}));
    GetDirectorySubDirNames("", out, false, true, false);
    QCOMPARE(out.size(), 6);
    out.clear();
    GetDirectorySubDirNames(m_dir.filePath("sub"), out, true, true, false);
    QCOMPARE(out, QStringList(m_dir.filePath("sub/deep")));
}

void TestFolderWalk::FindsFiles_data()
{
    QTest::addColumn<QString>("folder"); // below the temporary one
    QTest::newRow("d.txt") << "/sub/deep";
    QTest::newRow("a.txt") << "/sub";
    QTest::newRow("/c") << "";             // no extension: all files
    QTest::newRow("/deep") << "/sub/deep"; // anywhere in the path
    QTest::newRow("c.txt") << QString();
    QTest::newRow("B.txt") << QString(); // the name's case counts
}

void TestFolderWalk::FindsFiles()
{
    QFETCH(QString, folder);
    QCOMPARE(FindFilePath(m_dir.path(), QTest::currentDataTag()),
             folder.isNull() ? QString() : m_dir.path() + folder);
}

QTEST_GUILESS_MAIN(TestFolderWalk)
#include "test_folder_walk.moc"
