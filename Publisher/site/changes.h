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

/// What \a next changes, \a before being what users have. Files of the names in \a same_content
/// are those that lie there already.
QList<Change> CompareReleases(const Release &before, const Release &next,
                              const QSet<QString> &same_content);

/// Finds the contents that reach no user because of their dates, or take a user back, on the day
/// \a today.
void CheckDates(const Release &before, const Release &next, const QSet<QString> &same_content,
                const QDate &today, Findings &findings);
