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
