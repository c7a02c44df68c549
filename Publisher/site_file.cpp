#include "site_file.h"

#include <QFileInfo>

#include <cerrno>
#include <filesystem>
#include <unistd.h>

bool SiteFile::Open()
{
    std::error_code error;
    const QString folder = QFileInfo(fileName()).path();
    std::filesystem::create_directories(QFile::encodeName(folder).toStdString(), error);
    // Without a buffer, since a full disk must be known before the next step.
    return error ? Fail(error) : open(QIODevice::WriteOnly | QIODevice::Unbuffered);
}

bool SiteFile::Write(const QByteArray &bytes)
{
    // Where the disk becomes full, one write ends early, and only the next one fails.
    qint64 done = 0;
    while (done < bytes.size()) {
        const qint64 written = write(bytes.constData() + done, bytes.size() - done);
        if (written <= 0)
            return false;
        done += written;
    }
    return true;
}

bool SiteFile::Commit()
{
    // Some file systems tell only here that they are full, and commit() wouldn't listen.
    if (::fsync(handle()) != 0)
        return Fail({errno, std::generic_category()});
    return commit();
}

QString SiteFile::Failure() const
{
    return QString("%1: %2").arg(fileName(), errorString());
}

bool SiteFile::Fail(const std::error_code &error)
{
    setErrorString(QString::fromStdString(error.message()));
    return false;
}
