#pragma once

#include "base/input_file.h"
#include "base/progress.h"
#include "write/destination.h"

/// Unpacks the zip \a file on all processors.
void UnpackZip(const InputFile &file, Destination &destination, Progress &progress);
