#pragma once

#include "base/progress.h"

#include <string>

enum class Purpose { Install, Trial };

/// Unpacks \a archive_path below \a destination_path, which is made if it is missing. The content
/// of the archive decides how, not its name: zip, cab, 7z, or a tar that is compressed with
/// gzip, bzip2, xz and the like, not compressed, or the only file in a 7z.
///
/// Nothing outside the destination is touched, whatever the archive says. Anything wrong with it
/// is thrown as a Failure, and what the run has made by then is removed again. Only a top folder
/// that was there before keeps it, without a `version.info`. A component that is installed is on
/// the disk afterwards, to outlive a power cut; one that is unpacked for a trial may not be.
void Unpack(const std::string &archive_path, const std::string &destination_path, Purpose purpose,
            Progress &progress);
