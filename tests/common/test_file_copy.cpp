#include "common/common_helper.h"

#include <QAbstractButton>
#include <QMessageBox>
#include <QtTest>

class TestFileCopy : public QObject
{
    Q_OBJECT

private slots:
    void CopiesOneFile_data();
    void CopiesOneFile();
    void LeavesTheDestination_data();
    void LeavesTheDestination();
    void MergesFolders();
    void ComesToAnEnd_data();
    void ComesToAnEnd();
};

namespace {

const char *const kQuestion =
    "g already exists in destination directory. Do you want to replace it?";

/// The file's content, with "-" for none.
QByteArray Content(const QString &path)
{
    QByteArray data = "-";
    GetFileData(path, data);
    return data;
}

/// All files below \a dir, without \a dir itself.
QStringList Tree(const QString &dir)
{
    QStringList files;
    GetDirectoryFileNames(dir, files, true, true, true);
    return files.replaceInStrings(dir + '/', "");
}

} // namespace

void TestFileCopy::CopiesOneFile_data()
{
    QTest::addColumn<bool>("exists");
    QTest::addColumn<bool>("overwrite");
    QTest::addColumn<bool>("ask");
    QTest::addColumn<int>("answer"); // a button, or 0 if no question may come
    QTest::addColumn<bool>("copied");
    QTest::newRow("new") << false << false << true << 0 << true;
    QTest::newRow("overwrite") << true << true << true << 0 << true;
    QTest::newRow("neither flag") << true << false << false << 0 << true;
    QTest::newRow("Yes") << true << false << true << int(QMessageBox::Yes) << true;
    QTest::newRow("No") << true << false << true << int(QMessageBox::No) << false;
}

void TestFileCopy::CopiesOneFile()
{
    QFETCH(bool, exists);
    QFETCH(bool, overwrite);
    QFETCH(bool, ask);
    QFETCH(int, answer);
    QFETCH(bool, copied);
    const QTemporaryDir dir;
    WriteFileData(dir.filePath("f"), "new");
    if (exists)
        WriteFileData(dir.filePath("g"), "old");

    int questions = 0;
    QTimer user;
    connect(&user, &QTimer::timeout, &user, [&] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (box && box->text() == kQuestion && box->windowTitle() == "ZEFT") {
            ++questions;
            box->button(QMessageBox::StandardButton(answer))->click();
        }
    });
    user.start(0);
    QCOMPARE(CopyFileHelper(dir.filePath("f"), dir.path(), "g", overwrite, ask, nullptr), copied);
    QCOMPARE(questions, answer ? 1 : 0);
    QCOMPARE(Content(dir.filePath("g")), QByteArray(copied ? "new" : "old"));
    QCOMPARE(Content(dir.filePath("f")), QByteArray("new"));

    QDir(dir.path()).mkdir("h");
    QVERIFY(CopyFileHelper(dir.filePath("f"), dir.filePath("h"), false, false, nullptr));
    QCOMPARE(Content(dir.filePath("h/f")), QByteArray("new"));
}

void TestFileCopy::LeavesTheDestination_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("name");
    QTest::newRow("the same file") << "g"
                                   << "g";
    QTest::newRow("the same file by another path") << "folder/../g"
                                                   << "g";
    QTest::newRow("a link to the destination") << "link"
                                               << "g";
    QTest::newRow("no source") << "missing"
                               << "g";
    QTest::newRow("a folder as source") << "folder"
                                        << "g";
    QTest::newRow("a folder as destination") << "g"
                                             << "folder";
}

void TestFileCopy::LeavesTheDestination()
{
    QFETCH(QString, source);
    QFETCH(QString, name);
    const QTemporaryDir dir;
    WriteFileData(dir.filePath("g"), "kept");
    QFile::link(dir.filePath("g"), dir.filePath("link"));
    QDir(dir.path()).mkdir("folder");
    QVERIFY(!CopyFileHelper(dir.filePath(source), dir.path(), name, true, false, nullptr));
    QCOMPARE(Content(dir.filePath("g")), QByteArray("kept"));
    QVERIFY(IsFolderPresent(dir.path(), "folder"));
}

void TestFileCopy::MergesFolders()
{
    const QTemporaryDir dir;
    const QString from = dir.filePath("from");
    const QString to = dir.filePath("new/to");
    CopyDirectory(from, to);
    QVERIFY(!IsFilePresent(to));

    QVERIFY(QDir().mkpath(from + "/sub/deep") && QDir().mkpath(from + "/empty"));
    QVERIFY(QDir().mkpath(from + "/.hidden") && QDir().mkpath(to + "/sub"));
    for (const char *name : {"/a", "/sub/b", "/sub/deep/c", "/.d", "/.hidden/e"})
        QVERIFY(WriteFileData(from + name, "new"));
    QVERIFY(WriteFileData(to + "/sub/b", "old") && WriteFileData(to + "/other", "old"));
    QVERIFY(QFile::link(from + "/sub/deep", from + "/link"));
    CopyDirectory(from, to);
    QCOMPARE(Tree(to), QStringList({"a", "link/c", "other", "sub/b", "sub/deep/c"}));
    QVERIFY(IsFolderPresent(to, "empty") && !IsFolderPresent(to, ".hidden"));
    QCOMPARE(Content(to + "/sub/b"), QByteArray("old"));
    QCOMPARE(Content(to + "/sub/deep/c"), QByteArray("new"));
}

void TestFileCopy::ComesToAnEnd_data()
{
    QTest::addColumn<QString>("link");
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("to");
    QTest::addColumn<QStringList>("tree"); // of the destination
    const QStringList all({"a", "sub/b"});
    QTest::newRow("into itself") << ""
                                 << ""
                                 << "from" << all;
    QTest::newRow("into a new folder inside") << ""
                                              << ""
                                              << "from/sub/new" << all;
    QTest::newRow("into an old folder inside") << ""
                                               << ""
                                               << "from/sub" << QStringList({"a", "b"});
    QTest::newRow("link to the source") << "from/sub/l"
                                        << "from"
                                        << "to" << all;
    QTest::newRow("link above the source") << "from/sub/l"
                                           << ""
                                           << "to" << all;
    QTest::newRow("link to its own folder") << "from/sub/l"
                                            << "from/sub"
                                            << "to" << all;
    QTest::newRow("link to the destination") << "from/l"
                                             << "to"
                                             << "to" << all;
}

void TestFileCopy::ComesToAnEnd()
{
    QFETCH(QString, link);
    QFETCH(QString, target);
    QFETCH(QString, to);
    const QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkpath("from/sub") && QDir(dir.path()).mkpath("to"));
    QVERIFY(WriteFileData(dir.filePath("from/a"), "")
            && WriteFileData(dir.filePath("from/sub/b"), ""));
    if (!link.isEmpty())
        QVERIFY(QFile::link(dir.filePath(target), dir.filePath(link)));
    CopyDirectory(dir.filePath("from"), dir.filePath(to));
    QTEST(Tree(dir.filePath(to)), "tree");
}

QTEST_MAIN(TestFileCopy)
#include "test_file_copy.moc"
