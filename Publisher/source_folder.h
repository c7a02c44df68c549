#pragma once

#include <QStringList>

/// What a folder of the source holds, each list in the order of the names.
struct SourceFolder
{
    QStringList files;   // can be opened for reading; a link to a file counts as one
    QStringList folders; // none of them is a link
};

/// Reads the folder at \a path. Whatever else it holds cannot be published, and \a problems gets a
/// line for it.
SourceFolder ReadSourceFolder(const QString &path, QStringList &problems);

/// Reads the whole file at \a path into \a bytes. Empty, or the path and why that failed.
QString ReadSourceFile(const QString &path, QByteArray &bytes);
