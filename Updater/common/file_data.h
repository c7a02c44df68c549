#pragma once

#include <QFile>

/// Sums the bytes of \a file, each as a value from 0 to 255, from its beginning.
///
/// Above 0, \a limit is the number of bytes that count; otherwise the whole file does. The file
/// must be open for reading, and its position afterwards is unspecified. A read error ends the
/// sum early without a sign, so compare the result with a sum that you know.
qint64 GetFileDataChecksum(QFile &file, qint64 limit);
