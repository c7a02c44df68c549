#pragma once

#include "checks/list_check.h"

#include <functional>

class QDateTime;

/// Checks the release in the folder \a dir: its lists, its archives to their last byte, and its
/// descriptions. \a place is a folder for trials.
void CheckRelease(const QString &dir, const QString &place, Findings &findings,
                  const std::function<void(int, int)> &progress);

/// Checks the archives that \a lists name, with the same arguments.
void CheckArchives(const Lists &lists, const QString &dir, const QString &place, Findings &findings,
                   const std::function<void(int, int)> &progress);

/// Checks the descriptions of the release in \a dir, which \a lists belong to.
void CheckDescriptionsArchive(const Lists &lists, const QString &dir, const QString &place,
                              Findings &findings);

/// Checks that the time stamps in the file list have the one form that the updater can use.
void CheckTimeStamps(const Lists &lists, Findings &findings);

/// Compares the \a size in bytes and the \a date of a file with its line in the list.
void CompareWithLine(const FileLine &file, qint64 size, const QDateTime &date, Findings &findings);
