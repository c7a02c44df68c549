#include "site/site_folder.h"

#include "base/failure.h"
#include "files.h"
#include "site/release.h"
#include "site/swap.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSysInfo>

#include <fcntl.h>
#include <sys/file.h>

namespace {

QByteArray Myself()
{
    return QString("process %1 on %2 since %3")
        .arg(::getpid())
        .arg(QSysInfo::machineHostName(), QDateTime::currentDateTimeUtc().toString(Qt::ISODate))
        .toUtf8();
}

} // namespace

SiteFolder::SiteFolder(const QString &dir)
    : m_dir(QDir(dir).path()) // "." for an empty text
    , m_made(!QFileInfo::exists(dir))
{
    const QFileInfo live(Live());
    if (live.isSymLink() || (live.exists() && !live.isDir()))
        Fail(QString("%1: this is no folder, so no site can take its place").arg(Live()));
    MakeFolder(m_dir);
    Lock();
    Recover();
}

SiteFolder::~SiteFolder()
{
    try {
        Remove(Work());
    } catch (const Failure &) {
        // The next publisher tries again, and says so.
    }
    ::unlink(QFile::encodeName(LockPath()).constData());
    if (m_made)
        ::rmdir(QFile::encodeName(m_dir).constData());
}

bool SiteFolder::Publish()
{
    Rename(Next(), Former());
    bool at_once = true;
    if (!QFileInfo::exists(Live())) {
        Rename(Former(), Live());
    } else {
        at_once = Swap(Former(), Live());
        KeepFormer();
    }
    Sync(m_dir);
    return at_once;
}

bool SiteFolder::RollBack()
{
    const QFileInfo previous(Previous());
    if (previous.isSymLink() || !previous.isDir() || !QFileInfo(Live()).isDir())
        Fail(QString("%1: there is no former release").arg(Previous()));
    const bool at_once = Swap(Previous(), Live());
    Sync(m_dir);
    return at_once;
}

/// The lock ends with the process; the file only tells whose it is.
void SiteFolder::Lock()
{
    const QByteArray path = QFile::encodeName(LockPath());
    do { // Another publisher may remove the file between the two calls.
        m_lock =
            UniqueFd(::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644));
        CheckCall(static_cast<bool>(m_lock), LockPath());
        if (::flock(m_lock.Get(), LOCK_EX | LOCK_NB) != 0) {
            CheckCall(errno == EWOULDBLOCK, LockPath());
            QFile holder(LockPath());
            const QByteArray who =
                holder.open(QIODevice::ReadOnly) ? holder.read(200) : QByteArray();
            Fail(QString("%1: another zeft_repo is at work here, %2")
                     .arg(m_dir, QString::fromUtf8(who)));
        }
    } while (!IsSameFile(QString("/proc/self/fd/%1").arg(m_lock.Get()), LockPath()));
    const QByteArray myself = Myself();
    CheckCall(::ftruncate(m_lock.Get(), 0) == 0
                  && ::write(m_lock.Get(), myself.constData(), static_cast<size_t>(myself.size()))
                         > 0,
              LockPath());
}

/// Clears up after a kill. A release that was not yet served is deleted. The one before it becomes
/// Previous() if a newer one is served already.
void SiteFolder::Recover()
{
    if (QFileInfo::exists(Former()) && ReleaseNumber(Former()) < ReleaseNumber(Live()))
        KeepFormer();
    Remove(Work());
}

void SiteFolder::KeepFormer()
{
    Remove(Previous());
    Rename(Former(), Previous());
}
