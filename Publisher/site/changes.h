#pragma once

#include "rules.h"
#include "site/release.h"

#include <QDate>

/// What a release does to one file or package of the one before it.
struct Change
{
    enum Kind { Added, Changed, Removed, Unchanged };
    Kind kind;
    QString name;
    QString notice; // who will notice it, and how
};

/// "added" and so on, by Change::Kind.
QString KindName(Change::Kind kind);

/// What \a next changes in the release \a before, which lies in the folder \a live.
QList<Change> CompareReleases(const Release &before, const Release &next, const QString &live);

/// Finds the contents that do not reach the users of one of the \a former releases because of their
/// dates, or take them back, and dates after \a today.
void CheckDates(const QList<Release> &former, const Release &next, const QDate &today,
                Findings &findings);
