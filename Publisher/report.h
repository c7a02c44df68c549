#pragma once

#include "build.h"

#include <QString>

/// How a report is to be written.
struct ReportStyle
{
    bool is_json = false;
    bool is_quiet = false; // findings only
};

/// A finding as a line: what, level, rule, what is wrong, and the mend.
QString LineOf(const Finding &finding);

/// Prints what was found in \a target to the standard output. Returns the exit code: 1 if one of
/// the findings is an error.
int ReportFindings(const Findings &findings, const QString &target, const ReportStyle &style);

/// The same for a build, and tells what it changes in the document root \a site_dir.
int ReportBuild(const BuildResult &result, const QString &site_dir, const ReportStyle &style);

/// Prints "zeft_repo: ..." to the standard error, and as JSON the same to the standard output.
void ReportFailure(const QString &text, const ReportStyle &style = {});

/// Says on a terminal how many of how many archives have been read, in a line that is overwritten.
void ShowProgressLine(int done, int total);
