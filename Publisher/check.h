#pragma once

#include "build.h"

/// Checks the source tree, the site or, by its URL, the server \a target, and tells by \a progress
/// how far it is. \a with_sums fetches a server's archives, too. Throws a Failure, or Interrupted.
Findings Check(const QString &target, bool with_sums, const ShowProgress &progress);
