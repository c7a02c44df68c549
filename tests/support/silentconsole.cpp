#include "support/silentconsole.h"

#include <QMutex>

#include <cstdio>
#include <cstdlib>

namespace {
QMutex s_mutex;
QStringList s_messages;

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

void SilentConsole::Start()
{
    qInstallMessageHandler(Record);
}

QStringList SilentConsole::Take()
{
    const QMutexLocker lock(&s_mutex);
    QStringList messages;
    messages.swap(s_messages);
    return messages;
}
