#pragma once

#include "read/byte_source.h"
#include "write/destination.h"

/// Unpacks the tar that \a tar brings; it is read on another thread than it is written.
void UnpackTar(ByteSource &tar, Destination &destination);
