#include "common/common_helper.h"
#include "support/installation.h"
#include "support/test.h"

#include <ctime>

class TestFiles : public QObject
{
    Q_OBJECT

private slots:
    void ReadsPathsAndFiles();
    void MakesAndDeletes();
    void ListsAndFinds();
    void AsksAndCopies();
};

namespace {

void MakeFiles(const QTemporaryDir &dir, const QStringList &paths)
{
    for (const QString &path : paths)
        WriteFile(dir.filePath(path), "");
}

/// GetFileModifiedDateTime() of a file of this \a moment, where the clocks run as TZ says.
QString Stamp(const char *zone, const QString &moment, bool no_ms, bool local_time, bool keep_spec)
{
    qputenv("TZ", zone);
    tzset();
    const QTemporaryDir dir;
    WriteFile(dir.filePath("f"), "", moment);
    QString stamp = GetFileModifiedDateTime(dir.filePath("f"), no_ms, local_time, keep_spec);
    qunsetenv("TZ");
    tzset();
    return stamp;
}

} // namespace

void TestFiles::ReadsPathsAndFiles()
{
    const auto parts = [](const QString &path, const QStringList &expected) {
        const QStringList path_and_name{ExtractFilePath(path), ExtractFileName(path)};
        Row(path, path_and_name + QStringList(ExtractFileExtension(path)), expected);
        Row(path + " as a folder's path", ExtractParentPath(path), expected[0]);
        Row(path + " as a folder's name", ExtractEndFolder(path), expected[1]);
    };
    parts("/a/b.tar.gz", {"/a", "b.tar.gz", "gz"});
    parts("/", {"", "/", ""});
    parts("a/b/", {"a/b", "a/b/", ""});

    const auto bare = ExtractFileNameWithoutExtension;
    Row("bare name and folder", bare("a/b/c.tar.gz", true), "a/b/c.tar");
    Row("bare name below the root", bare("/b.zip", true), "b");

    Row("every occurrence of the base goes", GetRelativePath("/a", "/a/b/a/c"), "b/c");

    Row("one character isn't absolute", IsAbsolutePath("/"), false);
    Row("a URL is absolute", IsAbsolutePath("http://host"), true);
    Row("a backslash makes a folder", IsPathPresent("a\\b"), true);
    Row("a name that exists has no folder", IsPathPresent("CMakeLists.txt"), false);

    const char *const india = "IST-5:30";
    const QString noon = "2024-05-01T12:30:45.123Z";
    Row("true moment in UTC", Stamp(india, noon, false, true, false), noon);
    Row("digits as UTC, kept", Stamp(india, noon, true, false, true), "2024-05-01T18:00:45Z");
    Row("local time", Stamp(india, noon, false, true, true), "2024-05-01T18:00:45.123");
    Row("no file to stamp", GetFileModifiedDateTime("missing", false, true, false), "");

    const auto sum = [](const char *row, const QByteArray &bytes, qint64 limit, qint64 expected) {
        QTemporaryFile file;
        if (file.open())
            file.write(bytes); // the position is at the end now
        Row(row, GetFileDataChecksum(file, limit), expected);
        file.flush();
        Row(QString(row) + ", by path", GetFileDataChecksum(file.fileName(), limit), expected);
    };
    sum("limit in the second block", QByteArray(1000002, '\1'), 1000001, 1000001);
    sum("three blocks of the highest byte", QByteArray(2000003, '\xff'), 0, 510000765);
    sum("one byte more than a stretch", QByteArray(129, '\2'), 0, 258);
    Row("no file to sum", GetFileDataChecksum("missing", 0), -1);

    const auto copy = [](int count, bool reverse) {
        QByteArray target = "....";
        CopyByteArray(reinterpret_cast<unsigned char *>(target.data()),
                      reinterpret_cast<const unsigned char *>("\1\2\3"), count, reverse);
        return target.toHex();
    };
    Row("copied in reverse", copy(3, true), "0302012e");
    Row("negative count copied", copy(-1, false), "2e2e2e2e");
}

void TestFiles::MakesAndDeletes()
{
    const QTemporaryDir dir;
    const QString a = dir.filePath("a");
    QVERIFY(!MakeDir(dir.path(), "a/b") && MakePath(dir.path(), "a/b"));
    QVERIFY(!MakeDir(a, "b") && MakePath(dir.path(), "a/b") && MakeDir(a, "c"));
    QVERIFY(IsFolderPresent(a, "b") && IsFolderPresent(a + "/b") && IsFilePresent(a + "/b"));

    const QString file = a + "/c/f";
    QByteArray data = "old";
    QVERIFY(CreateNewFile(file + ".dnl", "longer") && WriteFileData(file + ".dnl", {"a\0", 2}));
    QCOMPARE(ReadFileData(file + ".dnl", data), GetFileSizeInBytes(file + ".dnl"));
    QCOMPARE(data, QByteArray("a\0", 2));
    QVERIFY(QFile::resize(file + ".dnl", 0x80000000LL)); // more than an array holds
    for (const QString &none : {a + "/missing/f", a, file + ".dnl"})
        QVERIFY(!GetFileData(none, data) && ReadFileData(none, data) == 2);
    for (const QString &none : {a + "/missing/f", a})
        QVERIFY(!CreateNewFile(none, "x") && !WriteFileData(none, "x"));
    QVERIFY(CreateNewFile("/dev/full", "x") && !WriteFileData("/dev/full", "x"));

    QCOMPARE(RenameFileFolderHelper(file + ".dnl", "f"), file);
    QVERIFY(IsFilePresent(file) && !IsFilePresent(file + ".dnl"));
    QCOMPARE(RenameFileFolderHelper(file + ".dnl", "g"), QString());

    QVERIFY(!DeleteFile(a + "/b") && DeleteFile(file) && !DeleteFile(file));
    MakeFiles(dir, {"a/c/f", "f"});
    QVERIFY(DeleteDirectoryContents(a) && QDir(a).isEmpty() && IsFolderPresent(a));
    QVERIFY(DeleteDirectoryContents(a + "/new/folder") && IsFolderPresent(a + "/new/folder"));
    QVERIFY(DeleteDirectory(a) && !IsFolderPresent(a) && GetFileSizeInBytes(a) == 0);

    // Neither a file nor the working folder is a folder that may be emptied.
    QVERIFY(DeleteDirectory(dir.filePath("f")) && !DeleteDirectoryContents(dir.filePath("f")));
    const QString working_folder = QDir::currentPath();
    QDir::setCurrent(dir.path());
    QVERIFY(!DeleteDirectory(QString()) && !DeleteDirectoryContents(QString()));
    QVERIFY(IsFolderPresent("/f")); // an entry of the root is sought here
    QDir::setCurrent(working_folder);
}

void TestFiles::ListsAndFinds()
{
    const QTemporaryDir dir;
    const QString top = dir.path();
    const QString sub = top + "/sub";
    MakeFiles(dir, {"b.txt", "A.txt", "c.bin", ".hidden.txt", "z/.hidden_folder/x.txt"});
    MakeFiles(dir, {"sub/a.txt", "sub/deep/d.txt"});
    QFile::link(top, sub + "/parent");
    QFile::link(top + "/b.txt", sub + "/link.txt");

    const auto files = [&](const QStringList &filters, bool full, bool recurse, bool sort) {
        QStringList out("M");
        GetDirectoryFileNames(top, filters, out, full, recurse, sort);
        GetDirectoryFileNames("", filters, out, full, recurse, false);
        return out.replaceInStrings(top, "%");
    };
    Row("one folder", files({}, false, false, false), {"M", "A.txt", "b.txt", "c.bin"});
    Row("sub-folders come first", files({}, true, true, false),
        {"M", "%/sub/deep/d.txt", "%/sub/a.txt", "%/A.txt", "%/b.txt", "%/c.bin"});
    Row("sorted with what was there", files({}, false, true, true),
        {"A.txt", "M", "a.txt", "b.txt", "c.bin", "d.txt"});
    Row("filtered", files({"a*", "*.bin"}, false, true, false), {"M", "a.txt", "A.txt", "c.bin"});

    QStringList folders("t");
    GetDirectorySubDirNames(top, folders, false, true, false);
    Row("folders", folders, {"t", "deep", "sub", "z"});
    Row("found without an extension", FindFilePath(top, "/c"), top);

    const QStringList dirs{top + "/missing", sub, top};
    Row("in no folder", GetAbsolutePath(dirs, "nowhere"), "nowhere");
    Row("first folder that exists", GetAbsolutePath(dirs, ""), sub);
}

void TestFiles::AsksAndCopies()
{
    const auto copy = [](const QString &source, const QString &name, bool overwrite, bool ask,
                         QMessageBox::StandardButton button = QMessageBox::NoButton) {
        const QTemporaryDir dir;
        WriteFileData(dir.filePath("f"), "new");
        WriteFileData(dir.filePath("g"), "old");
        MakePath(dir.path(), "folder");
        const BoxAnswers boxes({button});
        const bool copied =
            CopyFileHelper(dir.filePath(source), dir.path(), name, overwrite, ask, nullptr);
        return boxes.questions
               + QStringList({copied ? "true" : "false", ReadFile(dir.filePath(name))});
    };
    const QString question =
        "ZEFT: g already exists in destination directory. Do you want to replace it?";
    Row("overwrite", copy("f", "g", true, true), {"true", "new"});
    Row("Yes", copy("f", "g", false, true, QMessageBox::Yes), {question, "true", "new"});
    Row("No", copy("f", "g", false, true, QMessageBox::No), {question, "false", "old"});
    Row("the same by another path", copy("folder/../g", "g", true, false), {"false", "old"});
    Row("a folder as destination", copy("g", "folder", true, false), {"false", ""});

    const auto tree = [](const QString &to, const QString &link = "", const QString &target = "") {
        const QTemporaryDir dir;
        MakeFiles(dir, {"from/a", "from/sub/b", "from/.c", "from/.hidden/d", "to/a"});
        WriteFileData(dir.filePath("to/a"), "old");
        if (!link.isEmpty())
            QFile::link(dir.filePath(target), dir.filePath(link));
        CopyDirectory(dir.filePath("from"), dir.filePath(to));
        QStringList files;
        GetDirectoryFileNames(dir.filePath(to), files, true, true, true);
        files.append(ReadFile(dir.filePath("to/a")));
        return files.replaceInStrings(dir.filePath(to) + '/', "");
    };
    const QStringList all({"a", "sub/b", "old"});
    Row("into an existing folder", tree("to"), all);
    Row("link to a folder beside", tree("to", "from/l", "from/sub"), {"a", "l/b", "sub/b", "old"});
    Row("into an old folder inside", tree("from/sub"), {"a", "b", "old"});
    Row("link to the source", tree("to", "from/sub/l", "from"), all);
    Row("link to the destination", tree("to", "from/l", "to"), all);
}

ZEFT_TEST(TestFiles)
#include "test_files.moc"
