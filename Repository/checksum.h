#pragma once

#include <QtGlobal>

/// The checksum of a file list and of a partial file: the sum of the bytes up to \a end, each as a
/// value from 0 to 255.
qint64 SumOfBytes(const unsigned char *begin, const unsigned char *end);
