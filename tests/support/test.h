#pragma once

#include <QtNetwork>
#include <QtTest>
#include <QtWidgets>

#include <memory>

/// A test class whose program fails if Qt, or the code under test through qWarning() and its like,
/// writes to the console, as the programs never do, or if a dialogue stays open for half a minute.
class QuietTest : public QObject
{
    Q_OBJECT

private slots:
    /// Replaces Qt's message handler, Qt Test's own included, until the program ends.
    void initTestCase();
};

/// A data table: it is made with the names of its columns, and called with the values of a row.
///
///     const Table<QString, int> row("text", "length");
///     row("empty", "", 0);
template <typename... Types> class Table
{
public:
    template <typename... Names> explicit Table(Names... names)
    {
        (QTest::addColumn<Types>(names), ...);
    }

    void operator()(const QByteArray &name, const Types &...values) const
    {
        (QTest::newRow(name) << ... << values);
    }
};

/// A worked example in one line: fails with its \a name unless the answer is the one expected. Both
/// are compared as texts, which a failure shows.
template <typename T>
void Row(const QString &name, const T &answer, const std::common_type_t<T> &expected)
{
    QString texts[2];
    QDebug(&texts[0]) << answer;
    QDebug(&texts[1]) << expected;
    const QString failure = name + ": " + texts[0] + " instead of " + texts[1];
    if (texts[0] != texts[1])
        QTest::qFail(qPrintable(failure), __FILE__, __LINE__);
}

using MakeTest = std::unique_ptr<QObject> (*)();

/// Has the test program make an object of a test class when it is asked for the class by the name
/// of its \a source, without folder and suffix.
bool AddTestClass(const QString &source, MakeTest make);

/// Stands below a test class, in its source.
#define ZEFT_TEST(CLASS)                                                                           \
    static const bool s_has##CLASS = AddTestClass(                                                 \
        __FILE__, []() -> std::unique_ptr<QObject> { return std::make_unique<CLASS>(); });
