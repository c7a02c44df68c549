#include "app/root_directory.h"

#include "common/common_helper.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <unistd.h>

QString RootDirectory(const QStringList &arguments, const QString &program_dir)
{
    QString path = ExtractParentPath(program_dir);
    for (const QString &argument : arguments) {
        QString text = argument.trimmed();
        if (text.startsWith('-'))
            text.remove(0, 1);
        if (text.startsWith('#') && text.size() > 1)
            path = QDir::current().absoluteFilePath(text.mid(1));
    }
    path = QDir::fromNativeSeparators(path);
    // Behind a link, ".." leads to another place than the text says.
    const QString real = path.contains("..") ? QFileInfo(path).canonicalFilePath() : QString();
    path = QDir::cleanPath(real.isEmpty() ? path : real);
    return path == "/" ? QString() : path;
}

QString WriteFault(const QString &directory)
{
    const QByteArray entry = QFile::encodeName(directory + "/.");
    return access(entry.constData(), W_OK | X_OK) == 0 ? QString() : qt_error_string(errno);
}
