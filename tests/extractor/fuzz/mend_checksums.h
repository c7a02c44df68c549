#pragma once

#include <cstddef>
#include <cstdint>

/// Makes the checksums, sizes and offsets that guard the headers of a 7z, zip or tar fit the \a
/// size bytes at \a data again, as far as they can be found: else hardly any mutant would get past
/// them.
void MendChecksums(std::uint8_t *data, std::size_t size);
