#pragma once

#include "Repository/manifests.h"
#include "rules.h"

#include <QDateTime>
#include <QStringList>

/// The file that names what a source tree publishes.
extern const char kContentsFile[];

/// One archive that the repository is to offer.
struct Component
{
    QString path;       // of the archive on this machine
    QString remote_dir; // below "zeft/" in the repository
    QString file_name;
    int platform;       // code; 0 where repository.json gives none
    QDateTime modified; // UTC
    qint64 size;        // bytes

    QString Name() const { return remote_dir + '/' + file_name; }
};

struct RepositorySource
{
    QList<Component> components; // by directory as in repository.json, then by name
    QList<PackageLine> packages;
    QString descriptions_dir; // folder of the descriptions
    QStringList descriptions; // all files in it, by their path in it
};

/// Reads what is to be published from \a dir, see docs/publishing.md.
///
/// What cannot be read or published is in \a findings, and so is a package that names other
/// archives than one or two of those that are there; the values themselves are CheckLists()'s
/// concern.
RepositorySource ReadRepositorySource(const QString &dir, Findings &findings);
