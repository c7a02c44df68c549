// usage: zeft_tests CLASS [FUNCTION[:ROW]]... [OPTION]...
//
// Runs the test class whose source is CLASS.cpp, with the options of Qt Test. Without a class it
// lists them.

#include "support/test.h"

#include <cstdio>

namespace {

QMutex s_mutex;
QStringList s_messages; // of all threads

QMap<QString, MakeTest> &TestClasses()
{
    static QMap<QString, MakeTest> classes;
    return classes;
}

void Record(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtFatalMsg) {
        std::fprintf(stderr, "%s\n", qPrintable(message));
        std::abort();
    }
    if (message == "This plugin does not support propagateSizeHints()")
        return; // what the offscreen platform says of each window, and no other does
    const QMutexLocker lock(&s_mutex);
    s_messages << QString("%1: %2").arg(context.category, message);
}

} // namespace

void QuietTest::initTestCase()
{
    qInstallMessageHandler(Record);
}

void QuietTest::cleanup()
{
    const QMutexLocker lock(&s_mutex);
    const QString messages = s_messages.join('\n');
    s_messages.clear();
    QCOMPARE(messages, QString());
}

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
