#pragma once

#include <QString>

// Checks of what a text holds. Each answers false for an empty text.

/// True if \a s holds none of / \ : * ? " < > | . % ; ' # $ ^ and no character of \a extra.
bool IsStringValid(const QString &s, QString extra);

/// True if \a s reads as a number that differs from zero, or is "0".
///
/// "00", "0.0" and magnitudes below 0.0001 are not numeric; exponents, infinity and blanks round
/// the number are. Without \a allow_negative a "-" in front makes it false.
bool IsStringNumeric(const QString &s, bool allow_negative);

/// As IsStringNumeric() with negative numbers allowed, and with a "." in the text.
bool IsStringRealNumber(const QString &s);

/// ASCII letters alone.
bool IsStringAlphabets(const QString &s);

/// Hexadecimal digits of either case, without a prefix.
bool IsStringHexNumber(const QString &s);

/// Either all letters or a number; false for a mix of both.
bool IsStringAlphaNumeric(const QString &s, bool allow_negative);

/// Guesses whether a line of a tool's output reports an error.
///
/// "error:" in any case does, and so does "error " unless it is followed by "=" or the word is
/// the end of a longer one. The first "error" in small letters decides about that, or without
/// one the first in any case: "ERROR in line 3" counts, "TERROR level" doesn't.
bool IsStringContainsError(const QString &s);

/// As IsStringContainsError(), for the word "warning".
bool IsStringContainsWarning(const QString &s);
