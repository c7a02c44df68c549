#pragma once

#include <QTest>

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
