#pragma once

#include "destination.h"
#include "input_file.h"
#include "progress.h"

/// Unpacks the zip \a file on all processors.
void UnpackZip(const InputFile &file, Destination &destination, Progress &progress);
