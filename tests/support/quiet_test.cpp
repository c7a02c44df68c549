#include "support/quiet_test.h"

#include <QMutex>
#include <QTest>

#include <cstdio>
#include <cstdlib>

namespace {
QMutex s_mutex;
QStringList s_messages; // of all threads

void Record(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtFatalMsg) {
        fprintf(stderr, "%s\n", qPrintable(message));
        abort();
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
