#include "support/installation.h"
#include "support/test.h"
#include "transfer/filedownloader.h"

namespace {

const QString kOtherStamp = "2024-05-01T12:30:46.000Z";

} // namespace

class TestPartialFile : public QObject
{
    Q_OBJECT

private slots:
    void KeepsOnlyWhatTheTailProves_data();
    void KeepsOnlyWhatTheTailProves();
    void StoresTheStampInTwentyFourCharacters_data();
    void StoresTheStampInTwentyFourCharacters();

private:
    QTemporaryDir m_dir;
    QFile m_file{m_dir.filePath("a.zip.dnl")};
};

void TestPartialFile::KeepsOnlyWhatTheTailProves_data()
{
    const Table<QByteArray, qint64, qint64, QString> row("bytes", "sum", "kept", "stamp");
    const QByteArray good = "abc" + Tail(294, 3, kStamp);
    row("whole", good, 294, 3, kStamp);
    row("any version will do", good, 294, 3, "");
    row("bytes above 127", "\xff\xfe" + Tail(509, 2, kStamp), 509, 2, kStamp);
    row("order changed, unseen by a sum", "cba" + Tail(294, 3, kStamp), 294, 3, kStamp);
    row("data changed", "abd" + Tail(294, 3, kStamp), 294, 0, kStamp);
    row("other version of the file", "abc" + Tail(294, 3, kOtherStamp), -1, 0, kStamp);
    row("other letter case", good, -1, 0, kStamp.toLower());
    row("short stamp, stored longer", "abc" + Tail(294, 3, "2024-05-01T12:30:4500000"), -1, 0,
        "2024-05-01T12:30:45");
    row("cut", good.chopped(1), -1, 0, kStamp);
    row("lengthened", good + 'x', -1, 0, kStamp);
    row("data lost in front", good.mid(1), -1, 0, kStamp);
    row("length beyond 32 bits", "abc" + Tail(294, 3 + (qint64(1) << 32), kStamp), -1, 0, kStamp);
    row("negative sum", "abc" + Tail(-294, 3, kStamp), -294, 0, kStamp);
    row("killed before the tail was rewritten", QByteArray(80, 'x'), -1, 0, kStamp);
    row("only zeros", QByteArray(3, '\0') + Tail(0, 3, kStamp), 0, 0, kStamp);
    row("tail alone", Tail(0, 0, kStamp), 0, 0, kStamp);
    row("no room for a tail", QByteArray(39, 'x'), 0, 0, kStamp);
    row("empty", "", 0, 0, kStamp);
}

void TestPartialFile::KeepsOnlyWhatTheTailProves()
{
    QFETCH(QByteArray, bytes);
    QFETCH(qint64, sum); // that the tail states; -1: not a tail
    QFETCH(QString, stamp);
    QVERIFY(WriteFile(m_file.fileName(), bytes));
    QTEST(FileDownloader::GetDownloadedFileDetails(m_file.fileName(), stamp), "kept");
    QCOMPARE(ReadFile(m_file.fileName()), bytes);

    QVERIFY(m_file.open(QFile::ReadWrite));
    QCOMPARE(FileDownloader::ReadTailBytes(m_file, stamp, true), sum);
    m_file.close();
    const bool has_tail = bytes.size() >= 40 && sum != -1;
    QCOMPARE(ReadFile(m_file.fileName()), bytes.chopped(has_tail ? 40 : 0));
    QVERIFY(m_file.remove());
    QCOMPARE(FileDownloader::GetDownloadedFileDetails(m_file.fileName(), stamp), qint64(0));
}

void TestPartialFile::StoresTheStampInTwentyFourCharacters_data()
{
    const Table<QString, QByteArray, QString> row("stamp", "stored", "changed");
    row("none", "", QByteArray(24, '0'), "");
    row("short", "abc", "abc" + QByteArray(21, '0'), "abc" + QString(21, '0'));
    row("exact", kStamp, kStamp.toLatin1(), kStamp);
    row("long", kStamp + "more", kStamp.toLatin1(), kStamp);
    row("outside Latin-1", QString::fromUtf8("\u20ac"), "?" + QByteArray(23, '0'),
        QString::fromUtf8("\u20ac") + QString(23, '0'));
}

void TestPartialFile::StoresTheStampInTwentyFourCharacters()
{
    QFETCH(QString, stamp);
    QFETCH(QByteArray, stored);
    unsigned char data[] = {'b', 'c'};
    QVERIFY(m_file.open(QFile::ReadWrite | QFile::Truncate));
    FileDownloader::AddTailBytes(m_file, stamp, 97, data, 2);
    QCOMPARE(m_file.size(), qint64(0)); // nothing to prove
    m_file.write("abc");
    FileDownloader::AddTailBytes(m_file, stamp, 97, data, 2);
    m_file.close();
    QCOMPARE(ReadFile(m_file.fileName()), "abc" + Tail(294, 3, stored));
    QTEST(stamp, "changed");
}

ZEFT_TEST(TestPartialFile)

#include "test_partialfile.moc"
