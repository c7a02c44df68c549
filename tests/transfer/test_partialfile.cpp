#include "support/filebytes.h"
#include "support/installation.h"
#include "transfer/filedownloader.h"

#include <QTemporaryDir>
#include <QTest>

namespace {

const QByteArray kStamp = "2024-05-01T12:30:45.000Z";
const QByteArray kOtherStamp = "2024-05-01T12:30:46.000Z";

} // namespace

class TestPartialFile : public QObject
{
    Q_OBJECT

private slots:
    void KeepsOnlyWhatTheTailProves_data();
    void KeepsOnlyWhatTheTailProves();
    void ReadsAndCutsTheTail_data();
    void ReadsAndCutsTheTail();
    void StoresTheStampInTwentyFourCharacters_data();
    void StoresTheStampInTwentyFourCharacters();
    void EndsInATailAfterEachWrite_data();
    void EndsInATailAfterEachWrite();

private:
    QString Path() const { return m_dir.filePath("a.zip.dnl"); }
    QByteArray Content() const { return ReadFile(Path()); }

    QTemporaryDir m_dir;
};

void TestPartialFile::KeepsOnlyWhatTheTailProves_data()
{
    const QByteArray good = "abc" + Tail(294, 3, kStamp);
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("stamp");
    QTest::addColumn<qint64>("kept");
    const auto row = [](const char *name, const QByteArray &bytes, qint64 kept,
                        const QString &stamp = kStamp) {
        QTest::newRow(name) << bytes << stamp << kept;
    };
    row("whole", good, 3);
    row("any version will do", good, 3, QString());
    row("bytes above 127", "\xff\xfe" + Tail(509, 2, kStamp), 2);
    row("order changed, unseen by a sum", "cba" + Tail(294, 3, kStamp), 3);
    row("data changed", "abd" + Tail(294, 3, kStamp), 0);
    row("other version of the file", "abc" + Tail(294, 3, kOtherStamp), 0);
    row("other letter case", good, 0, QString(kStamp).toLower());
    row("short stamp, stored longer", "abc" + Tail(294, 3, "2024-05-01T12:30:4500000"), 0,
        "2024-05-01T12:30:45");
    row("cut", good.mid(0, good.size() - 1), 0);
    row("lengthened", good + 'x', 0);
    row("data lost in front", good.mid(1), 0);
    row("length beyond 32 bits", "abc" + Tail(294, 3 + (qint64(1) << 32), kStamp), 0);
    row("negative sum", "abc" + Tail(-294, 3, kStamp), 0);
    row("killed before the tail was rewritten", QByteArray(80, 'x'), 0);
    row("only zeros", QByteArray(3, '\0') + Tail(0, 3, kStamp), 0);
    row("tail alone", Tail(0, 0, kStamp), 0);
    row("no room for a tail", QByteArray(39, 'x'), 0);
    row("empty", "", 0);
}

void TestPartialFile::KeepsOnlyWhatTheTailProves()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, stamp);
    QVERIFY(WriteFile(Path(), bytes));
    QTEST(FileDownloader::GetDownloadedFileDetails(Path(), stamp), "kept");
    QCOMPARE(Content(), bytes);
    QCOMPARE(FileDownloader::GetDownloadedFileDetails(m_dir.filePath("none"), stamp), qint64(0));
}

void TestPartialFile::ReadsAndCutsTheTail_data()
{
    const QByteArray good = "abc" + Tail(294, 3, kStamp);
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<qint64>("sum");
    QTest::addColumn<QByteArray>("cut");
    QTest::newRow("good") << good << qint64(294) << QByteArray("abc");
    QTest::newRow("too short for a tail")
        << QByteArray(39, 'x') << qint64(0) << QByteArray(39, 'x');
    QTest::newRow("wrong length") << good + 'x' << qint64(-1) << good + 'x';
}

void TestPartialFile::ReadsAndCutsTheTail()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, cut);
    QVERIFY(WriteFile(Path(), bytes));
    QFile file(Path());
    QVERIFY(file.open(QFile::ReadWrite));
    QTEST(FileDownloader::ReadTailBytes(file, kStamp, false), "sum");
    QCOMPARE(Content(), bytes);
    QTEST(FileDownloader::ReadTailBytes(file, kStamp, true), "sum");
    QCOMPARE(Content(), cut);
}

void TestPartialFile::StoresTheStampInTwentyFourCharacters_data()
{
    QTest::addColumn<QString>("stamp");
    QTest::addColumn<QByteArray>("stored");
    QTest::addColumn<QString>("changed");
    QTest::newRow("none") << "" << QByteArray(24, '0') << "";
    QTest::newRow("short") << "abc"
                           << "abc" + QByteArray(21, '0') << "abc" + QString(21, '0');
    QTest::newRow("exact") << QString(kStamp) << kStamp << QString(kStamp);
    QTest::newRow("long") << QString(kStamp + "more") << kStamp << QString(kStamp);
    QTest::newRow("outside Latin-1") << QString::fromUtf8("\u20ac") << "?" + QByteArray(23, '0')
                                     << QString::fromUtf8("\u20ac") + QString(23, '0');
}

void TestPartialFile::StoresTheStampInTwentyFourCharacters()
{
    QFETCH(QString, stamp);
    QFETCH(QByteArray, stored);
    unsigned char data[] = {'b', 'c'};
    QVERIFY(WriteFile(Path(), ""));
    QFile file(Path());
    QVERIFY(file.open(QFile::ReadWrite));
    const QString given = stamp;
    FileDownloader::AddTailBytes(file, stamp, 97, data, 2);
    QCOMPARE(file.size(), qint64(0)); // nothing to prove
    QCOMPARE(stamp, given);

    file.write("abc");
    FileDownloader::AddTailBytes(file, stamp, 97, data, 2);
    file.flush();
    QCOMPARE(Content(), "abc" + Tail(294, 3, stored));
    QTEST(stamp, "changed");
}

void TestPartialFile::EndsInATailAfterEachWrite_data()
{
    QTest::addColumn<bool>("append");
    QTest::newRow("fresh file") << false;
    QTest::newRow("resumed file") << true;
}

/// The cycle of a transfer, over several openings of the file.
void TestPartialFile::EndsInATailAfterEachWrite()
{
    QFETCH(bool, append);
    const QFile::OpenMode mode = append ? QFile::ReadWrite | QFile::Append : QFile::ReadWrite;
    QString stamp = "short";
    QByteArray all;
    QVERIFY(WriteFile(Path(), ""));
    for (const int size : {1, 39, 40, 41, 1000, 0, 16384, 1000000, 1}) {
        QByteArray chunk(size, static_cast<char>(200 + size));
        QFile file(Path());
        QVERIFY(file.open(mode));
        const qint64 sum = FileDownloader::ReadTailBytes(file, stamp, true);
        QCOMPARE(file.size(), qint64(all.size()));
        file.seek(file.size());
        file.write(chunk);
        all += chunk;
        FileDownloader::AddTailBytes(file, stamp, sum,
                                     reinterpret_cast<unsigned char *>(chunk.data()), size);
        file.close();
        QVERIFY(Content() == PartialFile(all, "short" + QByteArray(19, '0')));
    }
}

QTEST_APPLESS_MAIN(TestPartialFile)

#include "test_partialfile.moc"
