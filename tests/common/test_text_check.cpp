#include "common/common_helper.h"

#include <QtTest>

class TestTextCheck : public QObject
{
    Q_OBJECT

private slots:
    void RefusesCharacters();
    void TellsNumbers_data();
    void TellsNumbers();
    void TellsLettersAndDigits_data();
    void TellsLettersAndDigits();
    void SeesReports_data();
    void SeesReports();
    void ReadsLongTexts();
};

void TestTextCheck::RefusesCharacters()
{
    QVERIFY(!IsStringValid("", ""));
    QVERIFY(IsStringValid(QString::fromUtf8("a B-é_1(2)"), ""));
    QVERIFY(!IsStringValid("a B", "x B"));
    const QString refused = "/\\:*?\"<>|.%;'#$^";
    for (const QChar c : refused)
        QVERIFY2(!IsStringValid(QString("a%1b").arg(c), ""), qPrintable(QString(c)));
}

void TestTextCheck::TellsNumbers_data()
{
    QTest::addColumn<bool>("unsigned_number");
    QTest::addColumn<bool>("number");
    QTest::addColumn<bool>("real_number");
    QTest::newRow("") << false << false << false;
    QTest::newRow("0") << true << true << false;
    QTest::newRow("5") << true << true << false;
    QTest::newRow("-5") << false << true << false;
    QTest::newRow("-") << false << false << false;
    QTest::newRow("5.0") << true << true << true;
    QTest::newRow("-1.5") << false << true << true;
    QTest::newRow("1e3") << true << true << false;
    QTest::newRow("0.0001") << true << true << true;
    QTest::newRow("0.0") << false << false << false;
    QTest::newRow("00") << false << false << false;
    QTest::newRow("0.00001") << false << false << false;
    QTest::newRow("4294967296") << true << true << false;
    QTest::newRow("1.2.3") << false << false << false;
    QTest::newRow("12a") << false << false << false;
    QTest::newRow("inf") << true << true << false;
    QTest::newRow("nan") << true << true << false;
}

void TestTextCheck::TellsNumbers()
{
    const QString text = QTest::currentDataTag();
    QTEST(IsStringNumeric(text, false), "unsigned_number");
    QTEST(IsStringNumeric(text, true), "number");
    QTEST(IsStringRealNumber(text), "real_number");
}

void TestTextCheck::TellsLettersAndDigits_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("alphabets");
    QTest::addColumn<bool>("hex");
    QTest::addColumn<bool>("alphanumeric");
    QTest::newRow("empty") << "" << false << false << false;
    QTest::newRow("letters") << "azAZ" << true << false << true;
    QTest::newRow("hexadecimal digits") << "09afAF" << false << true << false;
    QTest::newRow("letters that are hexadecimal") << "beef" << true << true << true;
    QTest::newRow("behind f") << "1g" << false << false << false;
    QTest::newRow("prefix") << "0x1f" << false << false << false;
    QTest::newRow("neighbours of the letters") << "@[`{" << false << false << false;
    QTest::newRow("negative number") << "-12" << false << false << true;
    QTest::newRow("letter beyond ASCII") << QString(QChar(0xe9)) << false << false << false;
    QTest::newRow("digit beyond ASCII") << QString(QChar(0x665)) << false << false << false;
}

void TestTextCheck::TellsLettersAndDigits()
{
    QFETCH(QString, text);
    QTEST(IsStringAlphabets(text), "alphabets");
    QTEST(IsStringHexNumber(text), "hex");
    QTEST(IsStringAlphaNumeric(text, true), "alphanumeric");
    if (text.startsWith('-'))
        QVERIFY(!IsStringAlphaNumeric(text, false));
}

void TestTextCheck::SeesReports_data()
{
    QTest::addColumn<bool>("reports");
    QTest::newRow("") << false;
    QTest::newRow("an error occurred") << true;
    QTest::newRow("Error: disk full") << true;
    QTest::newRow("terror: even so") << true;
    QTest::newRow("two errors") << false;
    QTest::newRow("this ends in error") << false;
    QTest::newRow("error = 0") << false;
    QTest::newRow("Error = 0, yet an error occurred") << false;
    QTest::newRow("terror level") << false;
    QTest::newRow("0error level") << false;
    QTest::newRow("-error level") << true;
    QTest::newRow("ERROR in line 3") << true;
    QTest::newRow("An ERROR in line 3") << true;
    QTest::newRow("TERROR level") << false;
    QTest::newRow("ERROR in terror level") << false; // the one in small letters decides
}

void TestTextCheck::SeesReports()
{
    QString text = QTest::currentDataTag();
    QTEST(IsStringContainsError(text), "reports");
    text.replace("error", "warning").replace("Error", "Warning").replace("ERROR", "WARNING");
    QTEST(IsStringContainsWarning(text), "reports");
}

void TestTextCheck::ReadsLongTexts()
{
    const int length = 100000;
    QVERIFY(IsStringNumeric(QString(length, '9'), false));
    QVERIFY(!IsStringNumeric(QString(length, '0'), false));
    QVERIFY(IsStringValid(QString(length, 'a'), QString(length, 'b')));
    QVERIFY(!IsStringContainsError(QString("error").repeated(length / 5)));
}

QTEST_GUILESS_MAIN(TestTextCheck)
#include "test_text_check.moc"
