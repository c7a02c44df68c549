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

/// Unpacks the archive at \a path for a trial, as it will be on the users' machines. Empty if that
/// works, else why not.
QString UnpackingFault(const QString &path);

/// Reads the archive at \a path, whose content is meant to lie in the folder \a componentDir.
ArchiveContents ReadComponentArchive(const QString &path, const QString &componentDir);
