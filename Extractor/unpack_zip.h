#pragma once

#include "destination.h"
#include "input_file.h"
#include "progress.h"

/// Unpacks the zip \a file with \a entryCount entries, on all processors.
void UnpackZip(const InputFile &file, std::uint64_t entryCount, Destination &destination,
               Progress &progress);
