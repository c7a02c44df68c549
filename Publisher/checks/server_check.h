#pragma once

#include "rules.h"

#include <functional>

/// Checks the repository at the base URL \a url, as the updater meets it, and its lists and
/// descriptions like those of a site. \a with_archives fetches all archives, too, into the folder
/// \a place, and checks them. Throws a Failure, or Interrupted.
void CheckServer(const QString &url, bool with_archives, const QString &place, Findings &findings,
                 const std::function<void(int, int)> &progress);
