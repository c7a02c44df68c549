#include "common/common_helper.h"

#include <QtTest>

class TestLineText : public QObject
{
    Q_OBJECT

private slots:
    void FindsKeys_data();
    void FindsKeys();
    void SplitsLines();
    void CutsComments_data();
    void CutsComments();
    void FindsTextBetweenMarks_data();
    void FindsTextBetweenMarks();
};

void TestLineText::FindsKeys_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("separator");
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("value");
    QTest::newRow("between other lines") << "name:x\r\nbuild: 2024.05.01 \r\nsize:9"
                                         << "build"
                                         << ":"
                                         << "build: 2024.05.01 "
                                         << " 2024.05.01 ";
    QTest::newRow("first of two, in mid-line") << "my build:1:2\r\nbuild:3"
                                               << "build"
                                               << ":"
                                               << "build:1:2"
                                               << "1:2";
    QTest::newRow("last line without an end") << "a\r\nbuild:1"
                                              << "build"
                                              << ":"
                                              << "build:1"
                                              << "1";
    QTest::newRow("bare line feed ends no line") << "build:1\nsize:2\r\n"
                                                 << "build"
                                                 << ":"
                                                 << "build:1\nsize:2"
                                                 << "1\nsize:2";
    QTest::newRow("key holds a line end") << "a\r\nb=1\r\nc"
                                          << "a\r\nb"
                                          << "="
                                          << "a\r\nb=1"
                                          << "1";
    QTest::newRow("other case") << "Build:1"
                                << "build"
                                << ":"
                                << ""
                                << "";
    QTest::newRow("empty key") << "build:1"
                               << ""
                               << ":"
                               << ""
                               << "";
    QTest::newRow("separator in the next line only") << "build\r\na:b"
                                                     << "build"
                                                     << ":"
                                                     << "build"
                                                     << "build";
    QTest::newRow("long separator") << "build => 1"
                                    << "build"
                                    << " => "
                                    << "build => 1"
                                    << "1";
    QTest::newRow("separator before the key") << "a: build"
                                              << "build"
                                              << ":"
                                              << "build"
                                              << "build";
}

void TestLineText::FindsKeys()
{
    QFETCH(QString, text);
    QFETCH(QString, key);
    QFETCH(QString, separator);
    QTEST(GetLineWithMatchingKeyString(text, key), "line");
    QTEST(GetKeyValue(key, separator, text), "value");
}

void TestLineText::SplitsLines()
{
    const QString text = "\r\na\nb\r\n\r\nc\r\n";
    QCOMPARE(ExtractLinesFromText(text, "\r\n", false), QStringList({"a\nb", "c"}));
    QCOMPARE(ExtractLinesFromText(text, "\r\n", true), QStringList({"", "a\nb", "", "c", ""}));
    QCOMPARE(ExtractLinesFromText("1x2X3", "x", true), QStringList({"1", "2X3"}));
}

void TestLineText::CutsComments_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("rest");
    QTest::addColumn<bool>("found");
    QTest::newRow("none") << "a // b"
                          << "a // b" << false;
    QTest::newRow("up to the text's end") << "a /// b\r\nc /// d"
                                          << "a " << true;
    QTest::newRow("at the start") << "////"
                                  << "" << true;
}

void TestLineText::CutsComments()
{
    QFETCH(QString, text);
    QTEST(RemoveCommentedSection(text), "found");
    QTEST(text, "rest");
}

void TestLineText::FindsTextBetweenMarks_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("end");
    QTest::addColumn<QStringList>("found");
    QTest::newRow("second pair is open") << "[a][b"
                                         << "["
                                         << "]" << QStringList("a");
    QTest::newRow("pairs don't nest") << "[[a]"
                                      << "["
                                      << "]" << QStringList("[a");
    QTest::newRow("empty parts") << "]x[]y[]"
                                 << "["
                                 << "]" << QStringList({"", ""});
    QTest::newRow("the same mark on both sides") << "'a'b'c'"
                                                 << "'"
                                                 << "'" << QStringList({"a", "c"});
    QTest::newRow("marks don't overlap") << "<<<a>>>"
                                         << "<<"
                                         << ">>" << QStringList("<a");
    QTest::newRow("empty start") << "a]"
                                 << ""
                                 << "]" << QStringList();
    QTest::newRow("empty end") << "[a"
                               << "["
                               << "" << QStringList();
    QTest::newRow("many starts without an end") << QString(100000, '[') << "["
                                                << "]" << QStringList();
}

void TestLineText::FindsTextBetweenMarks()
{
    QFETCH(QString, text);
    QFETCH(QString, start);
    QFETCH(QString, end);
    QFETCH(QStringList, found);
    QStringList out("kept");
    GetStringsBetweenCharacters(text, start, end, out);
    QCOMPARE(out, QStringList("kept") + found);
}

QTEST_GUILESS_MAIN(TestLineText)
#include "test_line_text.moc"
