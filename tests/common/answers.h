#pragma once

#include <QtTest>

// A table of what functions answer, so that a worked example takes one line. A data function calls
// AddAnswerColumns() and then Row() for each example; its test is CompareAnswers().

inline void AddAnswerColumns()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("expected");
}

/// Both values as text, so that any types fit one table and a failure shows them.
template <typename T>
void Row(const QString &name, const T &answer, const std::common_type_t<T> &expected)
{
    QString answer_text;
    QString expected_text;
    QDebug(&answer_text) << answer;
    QDebug(&expected_text) << expected;
    QTest::newRow(qPrintable(name)) << answer_text << expected_text;
}

inline void CompareAnswers()
{
    QFETCH(QString, answer);
    QTEST(answer, "expected");
}
