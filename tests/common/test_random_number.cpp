#include "common/common_helper.h"

#include <QtTest>

class TestRandomNumber : public QObject
{
    Q_OBJECT

private slots:
    void StaysInItsRange();
    void TakesAllBitsForAnEmptyRange();
};

// A right generator fails each of these with a probability below 1e-20.
void TestRandomNumber::StaysInItsRange()
{
    QSet<unsigned int> seen;
    for (int i = 0; i < 1000; ++i) {
        QCOMPARE(GenerateRandomNumber(5, 6), 5U);
        const unsigned int high = GenerateRandomNumber(0xfffffff0U, 0xffffffffU);
        QVERIFY(high >= 0xfffffff0U && high < 0xffffffffU);
        seen.insert(GenerateRandomNumber(10, 20));
    }
    QCOMPARE(seen.size(), 10);
    QCOMPARE(*std::min_element(seen.begin(), seen.end()), 10U);
    QCOMPARE(*std::max_element(seen.begin(), seen.end()), 19U);
}

void TestRandomNumber::TakesAllBitsForAnEmptyRange()
{
    unsigned int ones = 0;
    unsigned int zeros = 0;
    for (int i = 0; i < 1000; ++i) {
        const unsigned int number = GenerateRandomNumber(5, 5);
        ones |= number;
        zeros |= ~number;
    }
    QCOMPARE(ones, 0xffffffffU);
    QCOMPARE(zeros, 0xffffffffU);
}

QTEST_GUILESS_MAIN(TestRandomNumber)
#include "test_random_number.moc"
