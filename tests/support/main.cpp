// usage: zeft_tests CLASS [FUNCTION[:ROW]]... [OPTION]...
//
// Runs the test class whose source is CLASS.cpp, with the options of Qt Test.

#include "support/test.h"

#include <atomic>
#include <cstdio>

namespace {

std::atomic<int> s_messages; // of all threads

QMap<QString, MakeTest> &TestClasses()
{
    static QMap<QString, MakeTest> classes;
    return classes;
}

void Count(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (message.startsWith("This plugin does not support "))
        return; // what the offscreen platform says of windows, and no other does
    if (message.endsWith("could not de-queue request, failed to report HostNotFoundError"))
        return; // a manager went while the host of its early connection was still looked up
    std::fprintf(stderr, "FAIL!  : on the console: %s: %s\n", context.category,
                 qPrintable(message));
    if (type == QtFatalMsg)
        std::abort();
    ++s_messages;
}

} // namespace

void QuietTest::initTestCase()
{
    qInstallMessageHandler(Count);
    auto *watch = new QTimer(this);
    connect(watch, &QTimer::timeout, [former = QPointer<QDialog>()]() mutable {
        auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (dialog && dialog == former) {
            QTest::qFail(qPrintable("Unanswered: " + dialog->windowTitle()), __FILE__, __LINE__);
            dialog->reject();
        }
        former = dialog;
    });
    watch->start(30000);
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
    if (!make)
        return 2;
    arguments.removeAt(1);
    return QTest::qExec(make().get(), arguments) + s_messages;
}
