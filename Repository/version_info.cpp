#include "Repository/version_info.h"

#include "Repository/fixed_names.h"

#include <QFile>
#include <QFileInfo>

static const qint64 kMostBytes = 1000000; // of a version.info, which needs a line

QString BuildFromVersionInfo(const QByteArray &bytes)
{
    const QString text = QString::fromLatin1(bytes.constData()); // up to a NUL
    const int key = text.indexOf("build");
    if (key < 0)
        return QString();
    const int end = text.indexOf("\r\n", key);
    const QString entry = text.mid(key, end < 0 ? -1 : end - key);
    return entry.mid(entry.indexOf(':') + 1).trimmed().replace('.', '-');
}

QString BuildIn(const QString &component_dir)
{
    const QFileInfo info(component_dir + '/' + kVersionInfo);
    QFile file(info.filePath());
    if (!info.isFile() || info.size() > kMostBytes || !file.open(QIODevice::ReadOnly))
        return QString();
    return BuildFromVersionInfo(file.readAll());
}

InstalledBuild CompareBuild(const QString &component_dir, const QString &version)
{
    if (!QFileInfo::exists(component_dir))
        return InstalledBuild::Missing;
    return !version.isEmpty() && BuildIn(component_dir) == version ? InstalledBuild::This
                                                                   : InstalledBuild::Other;
}
