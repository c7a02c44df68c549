#include "common/common_helper.h"

#include <QtTest>
#include <limits>

class TestTextConvert : public QObject
{
    Q_OBJECT

private slots:
    void WritesReals_data();
    void WritesReals();
    void TrimsOneCharacter();
    void CountsOn_data();
    void CountsOn();
    void EnsuresNumbers_data();
    void EnsuresNumbers();
    void ShiftsThePoint_data();
    void ShiftsThePoint();
    void ShiftsAsStepByStep();
    void WeighsVersions_data();
    void WeighsVersions();
    void FindsThePlatform_data();
    void FindsThePlatform();
    void TakesLongTexts();
};

void TestTextConvert::WritesReals_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<int>("min_decimals");
    QTest::addColumn<int>("decimals");
    QTest::addColumn<QString>("text");
    QTest::newRow("below one") << 0.5 << 1 << 3 << "0.500";
    QTest::newRow("one") << 1.0 << 1 << 3 << "1.000";
    QTest::newRow("above one") << 5.0 << 1 << 3 << "5.00";
    QTest::newRow("ten") << 10.0 << 1 << 3 << "10.00";
    QTest::newRow("above ten") << 50.0 << 1 << 3 << "50.0";
    QTest::newRow("at the limit") << 5000.0 << 1 << 3 << "5000.0";
    QTest::newRow("negative") << -5000.0 << 1 << 3 << "-5000.000";
    QTest::newRow("limits the wrong way round") << 5000.0 << 4 << 2 << "5000.00";
    QTest::newRow("below no decimals") << 5000.0 << -3 << 1 << "5000";
    const double infinity = std::numeric_limits<double>::infinity();
    QTest::newRow("infinity") << infinity << std::numeric_limits<int>::min() << 3 << "inf";
}

void TestTextConvert::WritesReals()
{
    QFETCH(double, value);
    QFETCH(int, min_decimals);
    QFETCH(int, decimals);
    QTEST(RealToString(value, min_decimals, decimals), "text");
    QTEST(RealToString(static_cast<float>(value), min_decimals, decimals), "text");
}

void TestTextConvert::TrimsOneCharacter()
{
    QCOMPARE(TrimString("xx a x", 'x', true, false), QString(" a x"));
    QCOMPARE(TrimString("xx a xx", 'x', false, true), QString("xx a "));
    QCOMPARE(TrimString("xx a xx", 'x', true, true), QString(" a "));
    QCOMPARE(TrimString("xax", 'x', false, false), QString("xax"));
    QCOMPARE(TrimString("xxx", 'x', true, true), QString());
}

void TestTextConvert::CountsOn_data()
{
    QTest::addColumn<QString>("next");
    QTest::newRow("") << "";
    QTest::newRow("007") << "8";
    QTest::newRow("1.5") << "1";
    QTest::newRow("00") << "00";
    QTest::newRow("file9") << "file10";
    QTest::newRow("a1b2") << "a1b3";
    QTest::newRow("abc007") << "abc8";
    QTest::newRow("-5") << "-6";
    QTest::newRow("12abc") << "13abc";
    QTest::newRow("abc") << "1abc";
    QTest::newRow("2147483647") << "2147483648";
    QTest::newRow("2147483648") << "1";
    QTest::newRow("f2147483647") << "f2147483648";
    QTest::newRow("f9223372036854775807") << "f9223372036854775808";
    QTest::newRow("f9223372036854775808") << "f1";
    QTest::newRow("9223372036854775808f") << "1f";
}

void TestTextConvert::CountsOn()
{
    QTEST(IncrString(QTest::currentDataTag()), "next");
}

void TestTextConvert::EnsuresNumbers_data()
{
    QTest::addColumn<QString>("number");
    QTest::newRow(" -1.5\t") << "-1.5";
    QTest::newRow("abc") << "0";
    QTest::newRow("") << "0";
    QTest::newRow("  ") << "0";
    QTest::newRow("0.0") << "0";
}

void TestTextConvert::EnsuresNumbers()
{
    QTEST(EnsureNumber(QTest::currentDataTag()), "number");
}

void TestTextConvert::ShiftsThePoint_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("right");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("shifted");
    const bool right = true;
    const bool left = false;
    QTest::newRow("zeros are added") << "1.5" << right << 2 << "150.0";
    QTest::newRow("zero in front goes") << "0.05" << right << 1 << "0.5";
    QTest::newRow("three zeros in front go") << "0.005" << right << 3 << "5.0";
    QTest::newRow("no point") << "7" << right << 2 << "700.0";
    QTest::newRow("one zero for a place") << "00.5" << right << 1 << "05.0";
    QTest::newRow("no point, left") << "12" << left << 1 << "1.2";
    QTest::newRow("zero at the end goes") << "12.50" << left << 1 << "1.25";
    QTest::newRow("zeros are added, left") << "0.5" << left << 2 << "0.005";
    QTest::newRow("three zeros at the end go") << "100" << left << 3 << "0.1";
    QTest::newRow("count of 0") << "7" << right << 0 << "7";
    QTest::newRow("negative count") << "7" << left << -1 << "7";
}

void TestTextConvert::ShiftsThePoint()
{
    QFETCH(QString, text);
    QFETCH(bool, right);
    QFETCH(int, count);
    QTEST(ShiftDecimal(right, count, text), "shifted");
}

void TestTextConvert::ShiftsAsStepByStep()
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

void TestTextConvert::WeighsVersions_data()
{
    QTest::addColumn<QString>("version");
    QTest::addColumn<int>("parts");
    QTest::addColumn<int>("weight");
    QTest::newRow("all parts") << "1.2.3" << 0 << 123;
    QTest::newRow("two parts") << "1.2.3" << 2 << 120;
    QTest::newRow("no carry") << "1.12.3" << 0 << 223;
    QTest::newRow("fourth part is ignored") << "1.2.3.4" << 0 << 123;
    QTest::newRow("one part") << "2" << 0 << 200;
    QTest::newRow("more parts than there are") << "1.2" << 3 << 120;
    QTest::newRow("negative count") << "1.2.3" << -1 << 123;
    QTest::newRow("no number") << "x..3" << 0 << 3;
    QTest::newRow("empty") << "" << 0 << 0;
    QTest::newRow("too large") << "2147483647.2147483647" << 0 << 2147483647;
    QTest::newRow("too small") << "-2147483648" << 0 << std::numeric_limits<int>::min();
}

void TestTextConvert::WeighsVersions()
{
    QFETCH(QString, version);
    QFETCH(int, parts);
    QTEST(CalVersionInt(version, parts), "weight");
}

void TestTextConvert::FindsThePlatform_data()
{
    QTest::addColumn<QString>("section");
    QTest::newRow("") << "";
    QTest::newRow("  one_lnx_lnx ") << "one_*_*";
    QTest::newRow("one $$ two ") << "two";
    QTest::newRow("one $$ two $$  a_lnx") << "a_*";
    QTest::newRow("one $$ two $$ three $$ four") << "three";
    QTest::newRow("one $$ two $$  $$ four") << "";
    QTest::newRow("one $$two") << "one $$two";
}

void TestTextConvert::FindsThePlatform()
{
    QTEST(ExtractPlatformText(QTest::currentDataTag()), "section");
}

void TestTextConvert::TakesLongTexts()
{
    const int length = 100000;
    const QString nines(length, '9');
    QCOMPARE(IncrString(nines), QString("1"));
    QCOMPARE(IncrString('a' + nines), QString("a1"));
    QCOMPARE(IncrString(nines + 'a'), QString("1a"));
    QCOMPARE(CalVersionInt(QString(length, '.'), 0), 0);
    QCOMPARE(CalVersionInt(nines, 0), 0);
    QCOMPARE(ShiftDecimal(true, length, nines), nines + QString(length, '0') + ".0");
    QCOMPARE(ShiftDecimal(false, length, nines), "0." + nines);
    QCOMPARE(RealToString(std::numeric_limits<double>::max(), 0, length).size(),
             length - 309 + 310);
}

QTEST_GUILESS_MAIN(TestTextConvert)
#include "test_text_convert.moc"
