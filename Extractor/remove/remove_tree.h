#pragma once

#include "base/progress.h"

#include <string>

/// Removes \a name in the folder \a parent with all it holds; it is no fault if it isn't there.
///
/// Links are removed and never followed, folders that forbid it are opened up first, and nothing
/// on another mounted file system is touched. What cannot be removed stays behind, the rest goes,
/// and then a Failure tells of the first such thing. The depth of the tree does not matter.
/// \a progress, unless null, follows the share of the entries that are gone; it isn't finished.
void RemoveTree(int parent, const std::string &name, Progress *progress = nullptr);
