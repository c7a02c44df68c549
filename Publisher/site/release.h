#pragma once

#include "checks/list_check.h"

#include <QHash>

/// What a release was made of: a file of the source, and for an archive what it came to.
struct SourceRecord
{
    qint64 size = 0;     // bytes
    qint64 modified = 0; // ms since 1970
    qint64 sum = 0;
    QString hash; // SHA-1; empty for a description
    QString time_stamp;

    bool IsOf(const SourceRecord &other) const
    {
        return size == other.size && modified == other.modified;
    }
};

/// What stands in the folder of a release, "zeft".
struct Release
{
    int number = 0;            // grows with each; 0: not made by zeft_repo, or by an old one
    bool has_our_rules = true; // made by this version of zeft_repo
    Lists lists;
    QHash<QString, SourceRecord> sources; // by their paths in the source
};

/// The release in the folder \a dir; an empty one if there is none, or none that can be read.
Release ReadRelease(const QString &dir);

int ReleaseNumber(const QString &dir);

/// True if the file of this line lies in the folder \a dir with its size and date.
bool IsIntact(const FileLine &file, const QString &dir);

/// True if the files of both lines, each of its release, hold the same.
bool IsSameContent(const Release &a, const FileLine &file_a, const Release &b,
                   const FileLine &file_b);

/// The bytes of the record that is kept of \a release.
QByteArray RecordOf(const Release &release);

/// Replaces what the next build wants to know in the folder \a live, by way of a file in the folder
/// \a place of the same file system.
void RewriteRecord(const Release &release, const QString &place, const QString &live);

/// Writes the lists of \a release, and what the next build wants to know, into the folder \a dir.
/// A list that is equal to that in \a old_dir becomes another name of it, and keeps its date.
void WriteRelease(const Release &release, const QString &dir, const QString &old_dir);
