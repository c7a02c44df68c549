#pragma once

#include "input_file.h"

#include <cstdint>
#include <optional>

/// The number of entries that a zip says it has, in the record at its end; none if \a file does
/// not end in such a record, and so is no zip or a truncated one.
std::optional<std::uint64_t> ZipEntryCount(const InputFile &file);
