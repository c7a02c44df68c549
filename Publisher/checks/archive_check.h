#pragma once

#include "rules.h"

#include <QList>

#include <functional>

/// One archive to be read to its end and unpacked for a trial.
struct ArchiveTrial
{
    QString subject; // its name in findings
    QString path;
    QString target;    // the component's folder, the only thing that may come out
    QString copy_path; // where a copy of it is made, the trial being that of the copy; may be empty
};

/// What was read.
struct ArchiveFacts
{
    qint64 size = 0;
    qint64 sum = 0; // of its bytes
    QString hash;   // SHA-1
    QString build;  // date such as 2024-05-01; empty if findings say why
};

/// Tries all \a trials, on all processors, below the folder \a place. What is wrong with them is in
/// \a findings. \a done is called as each of them ends.
QList<ArchiveFacts> TryArchives(const QList<ArchiveTrial> &trials, const QString &place,
                                Findings &findings, const std::function<void(int)> &progress);
