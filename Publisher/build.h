#pragma once

#include "rules.h"
#include "site/changes.h"

#include <functional>

enum class Outcome {
    Refused, // for findings that are errors
    Tried,   // in a dry run
    Nothing, // as the site is like the source
    Published,
};

/// What a build came to.
struct BuildResult
{
    Findings findings;
    QList<Change> changes; // by which the site would differ, or does
    int components = 0;
    int packages = 0;
    Outcome outcome = Outcome::Refused;
    bool is_at_once = true;     // false: the file system made it a change file by file
    QStringList dated_by_build; // archives whose own date is another one than their build
};

/// Tells how many of how many archives have been read.
using ShowProgress = std::function<void(int done, int total)>;

enum class BuildMode { Publish, DryRun };

/// Makes of the tree \a source_dir the repository in the document root \a site_dir, or only says
/// what that would do. Throws a Failure, or Interrupted; the site is then as it was.
BuildResult Build(const QString &source_dir, const QString &site_dir, BuildMode mode,
                  const ShowProgress &progress);

/// Puts the former release in the place of the present one. Throws a Failure.
BuildResult RollBack(const QString &site_dir);
