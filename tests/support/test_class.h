#pragma once

#include <QObject>

#include <memory>

using MakeTest = std::unique_ptr<QObject> (*)();

/// Has the test program make an object of a test class when it is asked for the class by the name
/// of its \a source, without folder and suffix.
bool AddTestClass(const QString &source, MakeTest make);

/// Stands below a test class, in its source.
#define ZEFT_TEST(CLASS)                                                                           \
    static const bool s_has##CLASS = AddTestClass(                                                 \
        __FILE__, []() -> std::unique_ptr<QObject> { return std::make_unique<CLASS>(); });
