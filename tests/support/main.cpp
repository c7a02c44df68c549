// usage: zeft_tests CLASS [FUNCTION[:ROW]]... [OPTION]...
//
// Runs the test class whose source is CLASS.cpp, with the options of Qt Test. Without a class it
// lists them.

#include "support/test_class.h"

#include <QApplication>
#include <QFileInfo>
#include <QMap>
#include <QTest>

#include <cstdio>

namespace {

QMap<QString, MakeTest> &TestClasses()
{
    static QMap<QString, MakeTest> classes;
    return classes;
}

} // namespace

bool AddTestClass(const QString &source, MakeTest make)
{
    TestClasses()[QFileInfo(source).baseName()] = make;
    return true;
}

int main(int argc, char *argv[])
{
    QApplication::setAttribute(Qt::AA_Use96Dpi);
    const QApplication application(argc, argv);
    QStringList arguments = QApplication::arguments();
    const MakeTest make = TestClasses().value(arguments.value(1));
    if (!make) {
        std::printf("%s\n", qPrintable(TestClasses().keys().join('\n')));
        return 2;
    }
    arguments.removeAt(1);
    return QTest::qExec(make().get(), arguments);
}
