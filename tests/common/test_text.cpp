#include "answers.h"
#include "common/common_helper.h"

#include <limits>

class TestText : public QObject
{
    Q_OBJECT

private slots:
    void ReadsLinesAndKeys_data();
    void ReadsLinesAndKeys() { CompareAnswers(); }
    void FindsTextBetweenMarks_data();
    void FindsTextBetweenMarks() { CompareAnswers(); }
    void TellsNumbersAndLetters_data();
    void TellsNumbersAndLetters() { CompareAnswers(); }
    void ChecksWhatATextHolds_data();
    void ChecksWhatATextHolds() { CompareAnswers(); }
    void ConvertsNumbers_data();
    void ConvertsNumbers() { CompareAnswers(); }
    void CountsOn_data();
    void CountsOn() { CompareAnswers(); }
    void ShiftsThePoint_data();
    void ShiftsThePoint() { CompareAnswers(); }
    void ShiftsAsStepByStep();
    void ReadsVersionsAndSections_data();
    void ReadsVersionsAndSections() { CompareAnswers(); }
};

namespace {

const int kLong = 100000;

} // namespace

void TestText::ReadsLinesAndKeys_data()
{
    AddAnswerColumns();
    const auto line = GetLineWithMatchingKeyString;
    Row("first of two keys, in mid-line", line("my build:1\r\nbuild:3", "build"), "build:1");
    Row("last line without an end", line("a\r\nbuild:1", "build"), "build:1");
    Row("bare line feed ends no line", line("build:1\nb\r\nc", "build"), "build:1\nb");
    Row("key holds a line end", line("a\r\nb=1\r\nc", "a\r\nb"), "a\r\nb=1");
    Row("key in another case", line("Build:1", "build"), "");
    Row("empty key", line("build:1", ""), "");

    Row("value keeps its blanks", GetKeyValue("build", ":", "a\r\nbuild: 1:2 \r\nc"), " 1:2 ");
    Row("missing key has no value", GetKeyValue("build", ":", "a:1"), "");
    Row("separator in other lines only", GetKeyValue("build", ":", "a: build\r\nb:1"), "build");
    Row("long separator", GetKeyValue("build", " => ", "build => 1"), "1");

    const QString lines = "\r\na\nb\r\n\r\nc";
    Row("lines but the empty ones", ExtractLinesFromText(lines, "\r\n", false), {"a\nb", "c"});
    Row("all lines", ExtractLinesFromText(lines, "\r\n", true), {"", "a\nb", "", "c"});
    Row("separator in another case", ExtractLinesFromText("1x2X3", "x", true), {"1", "2X3"});

    const auto cut = [](QString text) {
        const bool found = RemoveCommentedSection(text);
        return (found ? "cut: " : "whole: ") + text;
    };
    Row("no comment", cut("a // b"), "whole: a // b");
    Row("comment up to the text's end", cut("a /// b\r\nc /// d"), "cut: a ");
    Row("comment at the start", cut("////"), "cut: ");
}

void TestText::FindsTextBetweenMarks_data()
{
    AddAnswerColumns();
    const auto between = [](const QString &text, const QString &start, const QString &end) {
        QStringList out("kept");
        GetStringsBetweenCharacters(text, start, end, out);
        return out;
    };
    Row("second pair is open", between("[a][b", "[", "]"), {"kept", "a"});
    Row("pairs don't nest", between("[[a]", "[", "]"), {"kept", "[a"});
    Row("empty parts", between("]x[]y[]", "[", "]"), {"kept", "", ""});
    Row("the same mark on both sides", between("'a'b'c'", "'", "'"), {"kept", "a", "c"});
    Row("marks don't overlap", between("<<<a>>>", "<<", ">>"), {"kept", "<a"});
    Row("empty start", between("a]", "", "]"), {"kept"});
    Row("empty end", between("[a", "[", ""), {"kept"});
    Row("many starts without an end", between(QString(kLong, '['), "[", "]"), {"kept"});
}

void TestText::TellsNumbersAndLetters_data()
{
    AddAnswerColumns();
    const auto is = [](const QString &text, const QStringList &kinds, const char *row = nullptr) {
        const QVector<QPair<bool, QString>> checks{
            {IsStringNumeric(text, false), "unsigned"},
            {IsStringNumeric(text, true), "number"},
            {IsStringRealNumber(text), "real"},
            {IsStringAlphabets(text), "letters"},
            {IsStringHexNumber(text), "hex"},
            {IsStringAlphaNumeric(text, false), "letters or unsigned"},
            {IsStringAlphaNumeric(text, true), "either"},
        };
        QStringList answer;
        for (const auto &check : checks) {
            if (check.first)
                answer.append(check.second);
        }
        Row(row ? row : '"' + text + '"', answer, kinds);
    };
    const QStringList integer{"unsigned", "number", "hex", "letters or unsigned", "either"};
    const QStringList real{"unsigned", "number", "real", "letters or unsigned", "either"};
    is("", {});
    is("0", integer);
    is("5", integer);
    is("4294967296", integer);
    is("1e3", integer);
    is("5.0", real);
    is("0.0001", real);
    is("-5", {"number", "either"});
    is("-1.5", {"number", "real", "either"});
    is("00", {"hex"});
    is("0.0", {});
    is("0.00001", {});
    is("1.2.3", {});
    is("-", {});
    is("inf", {"unsigned", "number", "letters", "letters or unsigned", "either"});
    is("nan", {"unsigned", "number", "letters", "letters or unsigned", "either"});
    is("azAZ", {"letters", "letters or unsigned", "either"});
    is("beef", {"letters", "hex", "letters or unsigned", "either"});
    is("09afAF", {"hex"});
    is("1g", {});
    is("0x1f", {});
    is("@[`{", {});
    is(QChar(0xe9), {}, "letter beyond ASCII");
    is(QChar(0x665), {}, "digit beyond ASCII");
    is(QString(kLong, '9'), integer, "many nines");
    is(QString(kLong, '0'), {"hex"}, "many zeros");
}

void TestText::ChecksWhatATextHolds_data()
{
    AddAnswerColumns();
    Row("empty text isn't valid", IsStringValid("", ""), false);
    Row("valid text", IsStringValid(QString::fromUtf8("a B-é_1(2)"), ""), true);
    Row("refused for an extra character", IsStringValid("a B", "xB"), false);
    Row("long text", IsStringValid(QString(kLong, 'a'), QString(kLong, 'b')), true);
    for (const QChar c : QString("/\\:*?\"<>|.%;'#$^"))
        Row(QString("refused for ") + c, IsStringValid(QString("a%1b").arg(c), ""), false);

    const auto reports = [](QString text, bool expected) {
        Row('"' + text.left(40) + '"', IsStringContainsError(text), expected);
        text.replace("error", "warning").replace("Error", "Warning").replace("ERROR", "WARNING");
        Row('"' + text.left(40) + "\", warning", IsStringContainsWarning(text), expected);
    };
    reports("", false);
    reports("an error occurred", true);
    reports("error occurred", true);
    reports("Error: disk full", true);
    reports("terror: even so", true);
    reports("two errors", false);
    reports("this ends in error", false);
    reports("error = 0", false);
    reports("Error = 0, yet an error occurred", false);
    reports("terror level", false);
    reports("0error level", false);
    reports("-error level", true);
    reports("ERROR in line 3", true);
    reports("An ERROR in line 3", true);
    reports("TERROR level", false);
    reports("ERROR in terror level", false); // the one in small letters decides
    reports(QString("error").repeated(kLong), false);
}

void TestText::ConvertsNumbers_data()
{
    AddAnswerColumns();
    const auto real = [](const char *row, double value, int min, int max, const char *text) {
        Row(row, RealToString(value, min, max), text);
        Row(QString(row) + ", float", RealToString(static_cast<float>(value), min, max), text);
    };
    real("below one", 0.5, 1, 3, "0.500");
    real("one", 1.0, 1, 3, "1.000");
    real("above one", 5.0, 1, 3, "5.00");
    real("ten", 10.0, 1, 3, "10.00");
    real("above ten", 50.0, 1, 3, "50.0");
    real("as few decimals as there may be", 5000.0, 1, 3, "5000.0");
    real("negative", -5000.0, 1, 3, "-5000.000");
    real("limits the wrong way round", 5000.0, 4, 2, "5000.00");
    real("below no decimals", 5000.0, -3, 1, "5000");
    const double infinity = std::numeric_limits<double>::infinity();
    real("infinity", infinity, std::numeric_limits<int>::min(), 3, "inf");
    const double highest = std::numeric_limits<double>::max();
    Row("many decimals", RealToString(highest, 0, kLong).size(), kLong + 1);

    Row("number among blanks", EnsureNumber(" -1.5\t"), "-1.5");
    Row("letters for a number", EnsureNumber("abc"), "0");
    Row("no text for a number", EnsureNumber(""), "0");
    Row("blanks for a number", EnsureNumber("  "), "0");
    Row("0.0 for a number", EnsureNumber("0.0"), "0");

    Row("trimmed at the start", TrimString("xx a x", 'x', true, false), " a x");
    Row("trimmed at the end", TrimString("xx a xx", 'x', false, true), "xx a ");
    Row("trimmed nowhere", TrimString("xax", 'x', false, false), "xax");
    Row("trimmed to nothing", TrimString("xxx", 'x', true, true), "");
}

void TestText::CountsOn_data()
{
    AddAnswerColumns();
    const auto next = [](const QString &text, const QString &expected) {
        Row("behind \"" + text.left(30) + '"', IncrString(text), expected);
    };
    next("", "");
    next("007", "8");
    next("1.5", "1");
    next("00", "00");
    next("file9", "file10");
    next("a1b2", "a1b3");
    next("abc007", "abc8");
    next("-5", "-6");
    next("12abc", "13abc");
    next("abc", "1abc");
    next("2147483647", "2147483648");
    next("2147483648", "1");
    next("f2147483647", "f2147483648");
    next("f9223372036854775807", "f9223372036854775808");
    next("f9223372036854775808", "f1");
    next("9223372036854775808f", "1f");
    next(QString(kLong, '9'), "1");
    next('a' + QString(kLong, '9'), "a1");
    next(QString(kLong, '8') + 'a', "1a");
}

void TestText::ShiftsThePoint_data()
{
    AddAnswerColumns();
    const bool right = true;
    const bool left = false;
    Row("zeros are added", ShiftDecimal(right, 2, "1.5"), "150.0");
    Row("zero in front goes", ShiftDecimal(right, 1, "0.05"), "0.5");
    Row("three zeros in front go", ShiftDecimal(right, 3, "0.005"), "5.0");
    Row("no point", ShiftDecimal(right, 2, "7"), "700.0");
    Row("one zero goes for a place", ShiftDecimal(right, 1, "00.5"), "05.0");
    Row("no point, left", ShiftDecimal(left, 1, "12"), "1.2");
    Row("zero at the end goes", ShiftDecimal(left, 1, "12.50"), "1.25");
    Row("zeros are added, left", ShiftDecimal(left, 2, "0.5"), "0.005");
    Row("three zeros at the end go", ShiftDecimal(left, 3, "100"), "0.1");
    Row("count of 0", ShiftDecimal(right, 0, "7"), "7");
    Row("negative count", ShiftDecimal(left, -1, "7"), "7");
    const QString nines(kLong, '9');
    Row("far right", ShiftDecimal(right, kLong, nines), nines + QString(kLong, '0') + ".0");
    Row("far left", ShiftDecimal(left, kLong, nines), "0." + nines);
}

void TestText::ShiftsAsStepByStep()
{
    for (const QString text :
         {"", ".", "0", "5.", ".5", "0.000", "000.000", "100.00", "-1.5", "00120.03400"}) {
        QString left = text;
        QString right = text;
        for (int count = 1; count <= 12; ++count) {
            left = ShiftDecimal(false, 1, left);
            right = ShiftDecimal(true, 1, right);
            QCOMPARE(ShiftDecimal(false, count, text), left);
            QCOMPARE(ShiftDecimal(true, count, text), right);
        }
    }
}

void TestText::ReadsVersionsAndSections_data()
{
    AddAnswerColumns();
    Row("all parts", CalVersionInt("1.2.3", 0), 123);
    Row("two parts", CalVersionInt("1.2.3", 2), 120);
    Row("no carry", CalVersionInt("1.12.3", 0), 223);
    Row("fourth part is ignored", CalVersionInt("1.2.3.4", 0), 123);
    Row("one part", CalVersionInt("2", 0), 200);
    Row("more parts than there are", CalVersionInt("1.2", 3), 120);
    Row("negative count of parts", CalVersionInt("1.2.3", -1), 123);
    Row("parts that are no numbers", CalVersionInt("x..3", 0), 3);
    Row("no version", CalVersionInt("", 0), 0);
    Row("too large", CalVersionInt("2147483647.2147483647", 0), 2147483647);
    Row("too small", CalVersionInt("-2147483648", 0), std::numeric_limits<int>::min());
    Row("many parts", CalVersionInt(QString(kLong, '.'), 0), 0);
    Row("many digits", CalVersionInt(QString(kLong, '9'), 0), 0);

    Row("no section", ExtractPlatformText(""), "");
    Row("one section", ExtractPlatformText("  one_lnx_lnx "), "one_*_*");
    Row("two sections", ExtractPlatformText("one $$ two "), "two");
    Row("three sections", ExtractPlatformText("one $$ two $$  a_lnx"), "a_*");
    Row("four sections", ExtractPlatformText("one $$ two $$ three $$ four"), "three");
    Row("empty third section", ExtractPlatformText("one $$ two $$  $$ four"), "");
    Row("separator without its blank", ExtractPlatformText("one $$two"), "one $$two");
}

QTEST_GUILESS_MAIN(TestText)
#include "test_text.moc"
