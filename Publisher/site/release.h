#pragma once

#include "checks/list_check.h"

#include <QHash>

/// The file in a release's folder by which the next build knows what is unchanged.
extern const char kReleaseRecord[];

/// By what a file of the source is known to be unchanged.
struct SourceStamp
{
    qint64 size = 0;     // bytes
    qint64 modified = 0; // ms since 1970
    bool operator==(const SourceStamp &other) const
    {
        return size == other.size && modified == other.modified;
    }
};

/// What stands in the folder of a release, "zeft".
struct Release
{
    int number = 0; // grows with each; 0: not made by this version of zeft_repo
    Lists lists;
    QHash<QString, FileLine> files;      // by their names
    QHash<QString, SourceStamp> sources; // that it was made of, by their paths in the source
};

/// The release in the folder \a dir; an empty one if there is none, or none that can be read.
Release ReadRelease(const QString &dir);

int ReleaseNumber(const QString &dir);

/// Replaces what the next build wants to know in the folder \a live, by way of a file in the folder
/// \a place of the same file system.
void RewriteRecord(const Release &release, const QString &place, const QString &live);

/// Writes the lists of \a release, and what the next build wants to know, into the folder \a dir.
/// A list that is equal to that in \a old_dir becomes another name of it, and keeps its date.
void WriteRelease(const Release &release, const QString &dir, const QString &old_dir);
