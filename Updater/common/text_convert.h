#pragma once

#include <QString>

/// Fixed-point text with \a decimals decimals, one less for each power of ten that \a value is
/// above 1.0, but never brought below \a min_decimals: (1, 3) gives 0.500, 5.00, 50.0, 5000.0.
QString RealToString(float value, int min_decimals, int decimals);
QString RealToString(double value, int min_decimals, int decimals);

/// \a s without the run of \a c at its start if \a left, and at its end if \a right.
QString TrimString(QString s, char c, bool left, bool right);

/// The next text of a numbered series: "7" to "8", "file9" to "file10", "12abc" to "13abc", and
/// "abc" to "1abc".
///
/// A number at the end goes before one at the start, and leading zeros go. A run of zeros comes
/// back as it is; digits that are too many for a 64-bit integer count as 0.
QString IncrString(const QString &s);

/// \a s without the blanks round it if that IsStringNumeric(), negative or not; otherwise "0".
QString EnsureNumber(QString s);

/// The unsigned decimal text \a s with its point moved by \a count places.
///
/// It works on the text alone, so no digit is lost to rounding. For each place one zero at the
/// start (to the right) or the end (to the left) goes, but a digit stays on each side of the point.
/// With \a count below 1 the text comes back as it is. A result of more than a thousand million
/// characters is left empty.
QString ShiftDecimal(bool right, int count, QString s);

/// A dotted version as one integer: 100, 10 and 1 times its first three parts, without carry.
///
/// Only the first \a parts parts count; all do if \a parts is below 1 or above their number. A part
/// that is no number counts as 0. Beyond the range of int, the nearest end of it is the result.
int CalVersionInt(const QString &version, int parts);

/// This platform's section of a text whose sections are separated by " $$ ".
///
/// That is the third, or the last if there are fewer. It comes without the blanks round it, and
/// with "_*" for each "_lnx".
QString ExtractPlatformText(const QString &s);
