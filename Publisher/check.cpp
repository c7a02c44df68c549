#include "check.h"

#include "Repository/names.h"
#include "base/failure.h"
#include "checks/site_check.h"
#include "files.h"
#include "source/repository_source.h"

#include <QFileInfo>

Findings Check(const QString &target, const ShowProgress &progress)
{
    const TemporaryFolder place;
    if (QFileInfo::exists(target + '/' + kSourceDescription)) // as for a site that isn't there yet
        return Build(target, place.Path() + "/site", BuildMode::DryRun, progress).findings;
    if (!QFileInfo::exists(target + FileListPath()))
        Fail(QString("%1: neither a source tree with %2, nor a site with %3")
                 .arg(target, kSourceDescription, FileListPath().mid(1)));
    Findings findings;
    CheckRelease(target + "/zeft", place.Path(), findings, progress);
    return findings;
}
