#pragma once

class QString;

/// Exchanges what the folders \a from and \a live hold, \a live being a release that is served.
/// True if it was done at once.
///
/// Where the file system can't do that, each file takes its place by itself: archives first, then
/// the descriptions, the package list, the file list and the record, by which the next build sees
/// how far this one came. What is in the old release alone leaves at the end. Throws a Failure.
bool Swap(const QString &from, const QString &live);
