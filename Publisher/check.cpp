#include "check.h"

#include "Repository/names.h"
#include "checks/server_check.h"
#include "checks/site_check.h"
#include "files.h"
#include "site/site_folder.h"
#include "source/repository_source.h"

#include <QFileInfo>
#include <QUrl>

Findings Check(const QString &target, bool with_sums, const ShowProgress &progress)
{
    const TemporaryFolder place;
    Findings findings;
    const QUrl url(target);
    if (target.contains("://")) {
        const bool is_http = url.scheme() == "https" || url.scheme() == "http";
        if (!url.isValid() || !is_http || url.host().isEmpty() || url.hasQuery()
            || url.hasFragment())
            Fail(QString("%1: no base URL such as https://zeft.example.com").arg(target));
        CheckServer(url.toString(), with_sums, place.Path(), findings, progress);
        return findings;
    }
    if (QFileInfo::exists(target + '/' + kContentsFile)) // as for a site that isn't there yet
        return Build(target, place.Path() + "/site", BuildMode::DryRun, progress).findings;
    if (!QFileInfo::exists(target + FileListPath()))
        Fail(QString("%1: neither a source tree with %2, nor a site with %3, nor a URL")
                 .arg(target, kContentsFile, FileListPath().mid(1)));
    CheckRelease(target + kLiveFolder, place.Path(), findings, progress);
    return findings;
}
