#pragma once

#include <QByteArray>
#include <QStringList>

/// What a component archive holds.
struct ArchiveContents
{
    QString error;          // why it can't be unpacked; empty if it can
    QStringList strays;     // what lies beside the component's folder
    QByteArray versionInfo; // the component's, cut at 64 KiB; empty if there is none
};

/// Unpacks the archive at \a path for a trial, as it will be on the users' machines, where its
/// content is meant to lie in the folder \a componentDir.
ArchiveContents UnpackForTrial(const QString &path, const QString &componentDir);
