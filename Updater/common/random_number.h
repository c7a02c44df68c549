#pragma once

/// A number from \a low up to but not including \a high.
///
/// Any 32-bit value if \a low equals \a high.
unsigned int GenerateRandomNumber(unsigned int low, unsigned int high);
