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
    QString texts[2];
    QDebug(&texts[0]) << answer;
    QDebug(&texts[1]) << expected;
    QTest::newRow(qPrintable(name)) << texts[0] << texts[1];
}

inline void CompareAnswers()
{
    QFETCH(QString, answer);
    QTEST(answer, "expected");
}
