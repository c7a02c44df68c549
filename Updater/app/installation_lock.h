#pragma once

#include <QString>

/// What keeps two updaters from working on one installation at a time: an advisory lock (flock(2))
/// on the downloads directory itself, so that nothing is left behind, not even by a crash.
///
/// The lock is held from a successful Take() until the object or the process ends.
class InstallationLock
{
public:
    explicit InstallationLock(const QString &directory);
    ~InstallationLock();
    InstallationLock(const InstallationLock &) = delete;
    InstallationLock &operator=(const InstallationLock &) = delete;

    /// False while another program holds the lock. A directory that can't be locked at all holds
    /// nobody back.
    bool Take();

private:
    int m_handle; // -1: the directory can't be opened
    bool m_held = false;
};
