#include "app/installation_lock.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

InstallationLock::InstallationLock(const QString &directory)
    : m_handle(open(QFile::encodeName(directory).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
}

InstallationLock::~InstallationLock()
{
    if (m_handle >= 0)
        close(m_handle);
}

bool InstallationLock::Take()
{
    if (!m_held)
        m_held = flock(m_handle, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
    return m_held;
}
