#pragma once

#include <QByteArray>
#include <QStringList>

/// What a component archive holds, read through to its end.
struct ArchiveContents
{
    QString error;          // empty: the archive is sound
    QStringList strays;     // entries outside the component's folder
    QByteArray versionInfo; // the component's version.info; null if there is none
};

/// Reads the archive at \a path, whose content is meant to lie in the folder \a componentDir.
ArchiveContents ReadComponentArchive(const QString &path, const QString &componentDir);
