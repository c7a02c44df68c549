#include "check.h"

#include "Repository/names.h"
#include "checks/server_check.h"
#include "checks/site_check.h"
#include "files.h"
#include "source/repository_source.h"

#include <QFileInfo>

Findings Check(const QString &target, bool with_sums, const ShowProgress &progress)
{
    const TemporaryFolder place;
    Findings findings;
    if (target.startsWith("https://") || target.startsWith("http://")) {
        CheckServer(target, with_sums, place.Path(), findings, progress);
        return findings;
    }
    if (QFileInfo::exists(target + '/' + kSourceDescription)) // as for a site that isn't there yet
        return Build(target, place.Path() + "/site", BuildMode::DryRun, progress).findings;
    if (!QFileInfo::exists(target + FileListPath()))
        Fail(QString("%1: neither a source tree with %2, nor a site with %3, nor a URL")
                 .arg(target, kSourceDescription, FileListPath().mid(1)));
    CheckRelease(target + "/zeft", place.Path(), findings, progress);
    return findings;
}
