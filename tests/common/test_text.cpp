#include "common/common_helper.h"
#include "support/test.h"

#include <limits>

class TestText : public QObject
{
    Q_OBJECT

private slots:
    void FindsAndChecks();
    void ConvertsNumbers();
};

static const int kManyCharacters = 100000; // where time and depth would show in each

void TestText::FindsAndChecks()
{
    Row("first of two keys, in mid-line, to a line's end",
        GetLineWithMatchingKeyString("my build:1\nb\r\nbuild:3", "build"), "build:1\nb");
    Row("value keeps its blanks", GetKeyValue("build", ":", "a\r\nbuild: 1:2 \r\nc"), " 1:2 ");
    Row("lines but empty ones", ExtractLinesFromText("-a\n--b-", "-", false), {"a\n", "b"});
    Row("all lines", ExtractLinesFromText("xaX", "x", true), {"", "aX"});

    QString commented = "a /// b\r\nc /// d";
    Row("has a comment", RemoveCommentedSection(commented), true);
    Row("comment up to the text's end", commented, "a ");

    const auto between = [](const QString &text, const QString &start, const QString &end) {
        QStringList out("kept");
        GetStringsBetweenCharacters(text, start, end, out);
        return out;
    };
    Row("pairs don't nest", between("[[a]", "[", "]"), {"kept", "[a"});
    Row("many starts without an end", between(QString(kManyCharacters, '['), "[", "]"), {"kept"});

    const auto is = [](const QString &row, const QString &text, const char *kinds) {
        const QVector<QPair<bool, const char *>> checks{
            {IsStringNumeric(text, false), "unsigned"}, {IsStringNumeric(text, true), "number"},
            {IsStringRealNumber(text), "real"},         {IsStringAlphabets(text), "letters"},
            {IsStringHexNumber(text), "hex"},           {IsStringAlphaNumeric(text, false), "word"},
            {IsStringAlphaNumeric(text, true), "item"},
        };
        QStringList answer;
        for (const auto &check : checks)
            answer.append(check.first ? QStringList(check.second) : QStringList());
        Row(row, answer.join(' '), kinds);
    };
    is("zero", "0", "unsigned number hex word item");
    is("decimal point", "1.5", "unsigned number real word item");
    is("minus sign", "-5", "number item");
    is("infinity", "inf", "unsigned number letters word item");
    is("hexadecimal digits", "09afAF", "hex");
    for (const char *text : {"", "0.0", "0.00001", "1.2.3", "-", "1g", "0x1f", "@[`{", "é", "٥"})
        is(QString("no kind of text: \"%1\"").arg(text), text, "");

    Row("valid text", IsStringValid("a B-é_1(2)", ""), true);
    Row("extra character", IsStringValid("a B", "xB"), false);
    for (const QChar c : QString("/\\:*?\"<>|.%;'#$^"))
        Row(QString("refused for ") + c, IsStringValid(QString("a%1b").arg(c), ""), false);

    const auto reports = [](QString text, bool expected) {
        Row('"' + text.left(40) + '"', IsStringContainsError(text), expected);
        text.replace("error", "warning").replace("Error", "Warning").replace("ERROR", "WARNING");
        Row('"' + text.left(40) + "\", warning", IsStringContainsWarning(text), expected);
    };
    for (const char *text : {"terror: even so", "-error level", "An ERROR in line 3"})
        reports(text, true);
    for (const char *text : {"two errors", "Error = 0, yet an error occurred", "TERROR level",
                             "ERROR in terror level"})
        reports(text, false);
    reports(QString("error").repeated(kManyCharacters), false);
}

void TestText::ConvertsNumbers()
{
    const auto real = [](double value, int min, int max, const QString &text) {
        Row("real " + text, RealToString(value, min, max), text);
        Row("float " + text, RealToString(static_cast<float>(value), min, max), text);
    };
    real(5.0, 1, 3, "5.00");
    real(-5000.0, 1, 3, "-5000.000");
    real(std::numeric_limits<double>::infinity(), std::numeric_limits<int>::min(), 3, "inf");

    Row("number among blanks", EnsureNumber(" -1.5\t"), "-1.5");
    Row("0.0 for a number", EnsureNumber("0.0"), "0");
    Row("trimmed at the start", TrimString("xx a x", 'x', true, false), " a x");
    Row("trimmed at the end", TrimString("xx a xx", 'x', false, true), "xx a ");

    const auto next = [](const QString &text, const QString &expected) {
        Row("behind \"" + text.left(30) + '"', IncrString(text), expected);
    };
    next("", "");
    next("00", "00");
    next("file9", "file10");
    next("-5", "-6");
    next("abc", "1abc");
    next('a' + QString(kManyCharacters, '9'), "a1");
    next(QString(kManyCharacters, '8') + 'a', "1a");

    const bool right = true;
    const bool left = false;
    Row("three zeros in front go", ShiftDecimal(right, 3, "0.005"), "5.0");
    Row("three zeros at the end go", ShiftDecimal(left, 3, "100"), "0.1");
    Row("no places", ShiftDecimal(right, 0, "7") + ShiftDecimal(left, -1, "8"), "78");
    const QString nines(kManyCharacters, '9');
    Row("far right", ShiftDecimal(right, kManyCharacters, nines),
        nines + QString(kManyCharacters, '0') + ".0");
    Row("far left", ShiftDecimal(left, kManyCharacters, nines), "0." + nines);
    const int most = std::numeric_limits<int>::max();
    Row("zero moved as far as can be",
        ShiftDecimal(right, most, "0") + ShiftDecimal(left, most, "0"), "0.00.0");
    Row("moved too far for a text",
        ShiftDecimal(right, most, "1.5") + ShiftDecimal(left, most, "1"), "");
    for (const QString text : {"", ".", "5.", ".5", "000.000", "100.00", "-1.5", "0120.0340"}) {
        for (const bool way : {right, left}) {
            QString stepped = text;
            for (int count = 1; count <= 12; ++count)
                stepped = ShiftDecimal(way, 1, stepped);
            Row(QString("12 places %1 at once: \"%2\"").arg(way ? "right" : "left", text),
                ShiftDecimal(way, 12, text), stepped);
        }
    }

    Row("no carry", CalVersionInt("1.12.3", 0), 223);
    Row("fourth part is ignored", CalVersionInt("1.2.3.4", 0), 123);
    Row("parts that are no numbers", CalVersionInt("x..3", -1), 3);
    Row("too large", CalVersionInt("2147483647.2147483647", 0), 2147483647);

    Row("one section", ExtractPlatformText("  one_lnx_lnx "), "one_*_*");
    Row("four sections", ExtractPlatformText("one $$ two $$ three_lnx $$ four"), "three_*");
}

ZEFT_TEST(TestText)
#include "test_text.moc"
