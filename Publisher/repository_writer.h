#pragma once

#include <QStringList>

struct RepositorySource;

/// Lays out \a source, which has passed CheckRepository(), below \a dest_dir.
///
/// Each file takes its place whole, and the two manifests come last, so a repository that is being
/// served can be written over. Files that the new manifests don't name are left alone. The result
/// is empty, or tells at what the work ended.
QStringList WriteRepository(const RepositorySource &source, const QString &dest_dir);
