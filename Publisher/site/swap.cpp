#include "site/swap.h"

#include "Repository/names.h"
#include "checks/list_check.h"
#include "files.h"

#include <QFileInfo>
#include <QSet>

#include <algorithm>

namespace {

/// The files below \a dir, those last by which clients find the others.
QStringList FilesInOrder(const QString &dir)
{
    QStringList files = FilesBelow(dir);
    const auto rank = [](const QString &file) {
        const QStringList last = {NameInRelease(DescriptionsPath()),
                                  NameInRelease(PackageListPath()), NameInRelease(FileListPath()),
                                  kReleaseRecord};
        return last.indexOf(file);
    };
    std::stable_sort(files.begin(), files.end(),
                     [&rank](const QString &a, const QString &b) { return rank(a) < rank(b); });
    return files;
}

} // namespace

bool Swap(const QString &from, const QString &live)
{
    if (Exchange(from, live))
        return true;
    const QStringList old_files = FilesInOrder(live);
    const QStringList new_files = FilesInOrder(from);
    const QSet<QString> taken = new_files.toSet();
    for (const QString &file : new_files) {
        const QString aside = from + '/' + file + ".old";
        const QString served = live + '/' + file;
        const bool replaces = QFileInfo::exists(served);
        if (replaces && IsSameFile(from + '/' + file, served)) // rename(2) would do nothing
            continue;
        if (replaces)
            LinkOrCopy(served, aside);
        MakeFolder(QFileInfo(served).path());
        Rename(from + '/' + file, served);
        if (replaces)
            Rename(aside, from + '/' + file);
    }
    for (const QString &file : old_files) {
        if (taken.contains(file))
            continue;
        MakeFolder(QFileInfo(from + '/' + file).path());
        Rename(live + '/' + file, from + '/' + file);
    }
    return false;
}
