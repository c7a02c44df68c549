#pragma once

#include "Repository/manifests.h"
#include "rules.h"

/// The file in a release's folder by which the next build knows what is unchanged. No list names
/// it.
extern const char kReleaseRecord[];

/// The two lists of a repository.
struct Lists
{
    QList<FileLine> files;
    QList<PackageLine> packages;
};

/// Where the file lies in the folder of a release that has the \a path below a base URL.
QString InRelease(const QString &dir, const QString &path);

/// The same path below "zeft/", by which findings name it.
QString NameInRelease(const QString &path);

/// The path of a file in the repository, below "zeft/".
QString NameOf(const FileLine &file);

/// Reads both lists of the release in the folder \a dir.
Lists ReadLists(const QString &dir, Findings &findings);

/// By what findings and reports name a package.
QString SubjectOf(const PackageLine &package);

/// Checks what can be told from the lists alone: names, platforms, who shares a place with whom,
/// and what each machine is offered.
void CheckLists(const Lists &lists, Findings &findings);

/// Checks the descriptions that \a packages name. All \a files lie in \a dir.
void CheckDescriptions(const QList<PackageLine> &packages, const QString &dir,
                       const QStringList &files, Findings &findings);
