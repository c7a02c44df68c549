#pragma once

#include "Repository/checksum.h"

#include <QByteArray>
#include <QFile>

/// Sums the bytes of \a file, each as a value from 0 to 255, from its beginning.
///
/// Above 0, \a limit is the number of bytes that count; otherwise the whole file does. The file
/// must be open for reading, and its position afterwards is unspecified. A read error ends the
/// sum early without a sign, so compare the result with a sum that you know.
qint64 GetFileDataChecksum(QFile &file, qint64 limit);

/// The same for a file that is not open; -1 if it can't be opened.
qint64 GetFileDataChecksum(const QString &path, qint64 limit);

/// Replaces \a data by the whole file; false, and \a data stays, if it can't be read or is too
/// large for an array.
bool GetFileData(const QString &path, QByteArray &data);

/// As GetFileData(), but gives the size of \a data, whether it was replaced or stayed.
qint64 ReadFileData(const QString &path, QByteArray &data);

/// Makes or replaces the file. True once it is open: use WriteFileData() to hear of a full disk.
bool CreateNewFile(const QString &path, const QByteArray &data);

/// Makes or replaces the file; true only if all of \a data went to the system.
bool WriteFileData(const QString &path, const QByteArray &data);

/// Copies \a count bytes, in reverse order if \a reverse, and none if \a count is negative.
///
/// Both areas must hold that many and must not overlap.
void CopyByteArray(unsigned char *destination, const unsigned char *source, int count,
                   bool reverse);
