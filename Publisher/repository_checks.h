#pragma once

#include <QStringList>

struct RepositorySource;

/// What the updater could not handle in \a source, one line for each problem; empty if all is well.
///
/// Reads every archive to its end.
QStringList CheckRepository(const RepositorySource &source);
