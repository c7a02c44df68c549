#pragma once

#include "rules.h"

#include <QStringList>

/// What a folder of the source holds, each list in the order of the names.
struct SourceFolder
{
    QStringList files;   // can be opened for reading; a link to a file in the source counts as one
    QStringList folders; // none of them is a link
};

/// Reads the folder at \a path, which lies in the source tree \a base.
///
/// Hidden files, the copies that editors keep, and links that lead out of the tree are passed over.
/// \a findings tells of them, and of whatever else cannot be published.
SourceFolder ReadSourceFolder(const QString &path, const QString &base, Findings &findings);
