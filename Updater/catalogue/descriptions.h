#pragma once

#include <QByteArray>
#include <QString>

// The descriptions of the packages, which each connection fetches anew. They live for one run of
// the program.

/// Their archive in the downloads directory.
QString DescriptionsArchive();

/// The size that a file of the unpacked descriptions has at the moment, in bytes; 0 if it can't be
/// read, is no regular file or lies, whatever \a name says, anywhere else.
qint64 DescriptionSize(const QString &name);
/// What the file holds; empty where its size is 0 or more than can be shown.
QByteArray DescriptionData(const QString &name);

/// Deletes archive and descriptions, if they are there.
void DeleteDescriptions();
