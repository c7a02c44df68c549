#pragma once

class QString;

/// Exchanges what the folders \a from and \a live hold, \a live being a release that is served.
/// True if it was done at once.
///
/// Where the file system can't do that, each file takes its place by itself: archives first, then
/// the pages, the package list and the file list, and what is in the old release alone leaves at
/// the end. Throws a Failure.
bool Swap(const QString &from, const QString &live);
