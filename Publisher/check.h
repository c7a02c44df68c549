#pragma once

#include "build.h"

/// Checks the source tree or the site \a target, and tells by \a progress how far it is. Throws a
/// Failure, or Interrupted.
Findings Check(const QString &target, const ShowProgress &progress);
