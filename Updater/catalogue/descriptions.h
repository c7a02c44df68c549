#pragma once

#include <QByteArray>
#include <QString>

// The description pages of the packages, which each connection fetches anew. They live for one run
// of the program.

/// A file of the unpacked pages; empty if it can't be read, is too large, is no regular file or
/// lies, whatever \a name says, anywhere else.
QByteArray DescriptionData(const QString &name);
/// The size that its file has at the moment; 0 where DescriptionData() is empty.
qint64 DescriptionSize(const QString &name);

/// Deletes archive and pages, if they are there.
void DeleteDescriptions();
