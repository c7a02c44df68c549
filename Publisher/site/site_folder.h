#pragma once

#include "base/unique_fd.h"

#include <QString>

#include <sys/types.h>

// What lies in a site's folder, each with a "/" in front.
constexpr char kLiveFolder[] = "/zeft";
constexpr char kPreviousFolder[] = "/zeft.previous";
constexpr char kWorkFolder[] = "/zeft.work";

/// The document root of a repository, held by one publisher at a time.
///
///     SITE/zeft            the release that is served, ours alone
///     SITE/zeft.previous   the one before it
///     SITE/zeft.work       what is in the making, while a publisher is at work
///     SITE/zeft.lock       who is at work
///
/// Nothing else in the folder is looked at. All functions throw a Failure.
class SiteFolder
{
public:
    /// Makes the folder \a dir if it is missing, and takes the lock. Puts in order what a publisher
    /// that was killed has left.
    explicit SiteFolder(const QString &dir);
    /// Removes what is in the making, and the folder if it was made and holds nothing.
    ~SiteFolder();
    SiteFolder(const SiteFolder &) = delete;
    SiteFolder &operator=(const SiteFolder &) = delete;

    QString Live() const { return m_dir + kLiveFolder; }
    QString Previous() const { return m_dir + kPreviousFolder; }
    QString Next() const { return Work() + "/next"; }     // what Publish() takes
    QString Trials() const { return Work() + "/trials"; } // for whatever is not to stay

    /// Puts Next() in the place of Live(), which becomes Previous(). True if that was one exchange
    /// of names; else it was done file by file, the lists last.
    bool Publish();
    /// Exchanges Live() and Previous(), with the same result.
    bool RollBack();

private:
    QString Work() const { return m_dir + kWorkFolder; }
    QString Former() const { return Work() + "/former"; } // what is to be Previous()
    QString LockPath() const { return m_dir + "/zeft.lock"; }
    void Lock();
    void Recover();
    void KeepFormer();

    QString m_dir;
    bool m_made;
    UniqueFd m_lock;
};
