#pragma once

#include <QString>

/// Unpacks the archive at \a path for a trial, as it will be on the users' machines. Empty if what
/// comes out is the folder \a dir alone, and in it a component of the version \a date, as in
/// 2024-05-01; else what is wrong.
QString ArchiveFault(const QString &path, const QString &dir, const QString &date);
