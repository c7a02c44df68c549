#pragma once

#include "base/progress.h"

#include <string>

/// Removes the folder at \a path with all it holds, as RemoveTree() does.
///
/// Refused with a Failure, nothing having been touched: the root, the home directory, the folder of
/// zeft_fextr_cmd, the working directory, every folder above one of these, and a link to one.
void DeleteFolder(const std::string &path, Progress &progress);
