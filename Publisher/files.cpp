#include "files.h"

#include "base/failure.h"
#include "remove/remove_tree.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

const qint64 kCopyBlock = 1 << 20; // bytes

[[noreturn]] void FailOf(const QString &path, int error)
{
    Fail(path + ": " + QString::fromStdString(std::generic_category().message(error)));
}

QByteArray Folder(const QString &path)
{
    return QFile::encodeName(QFileInfo(path).path());
}

void Copy(const QString &from, const QString &to)
{
    QFile source(from);
    OutputFile copy(to);
    if (source.open(QIODevice::ReadOnly))
        for (QByteArray block; !(block = source.read(kCopyBlock)).isEmpty();)
            copy.Write(block);
    if (source.error() != QFileDevice::NoError)
        Fail(QString("%1: %2").arg(from, source.errorString()));
    copy.Close();
    SetDate(to, QFileInfo(from).lastModified());
}

} // namespace

void Fail(const QString &text)
{
    throw Failure(text.toStdString());
}

void CheckCall(bool went_well, const QString &path)
{
    if (!went_well)
        FailOf(path, errno);
}

std::string Encoded(const QString &path)
{
    return QFile::encodeName(path).toStdString();
}

OutputFile::OutputFile(const QString &path)
    : m_path(path)
{
    MakeFolder(QFileInfo(path).path());
    m_file = UniqueFd(::open(QFile::encodeName(path).constData(),
                             O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    CheckCall(static_cast<bool>(m_file), path);
}

void OutputFile::Write(const QByteArray &bytes)
{
    // Where the disk becomes full, one write ends early, and only the next one fails.
    for (int done = 0; done < bytes.size();) {
        const ssize_t count = ::write(m_file.Get(), bytes.constData() + done,
                                      static_cast<size_t>(bytes.size() - done));
        CheckCall(count > 0, m_path);
        done += static_cast<int>(count);
    }
}

void OutputFile::Close()
{
    CheckCall(::close(m_file.Release()) == 0, m_path);
}

void WriteFile(const QString &path, const QByteArray &bytes)
{
    OutputFile file(path);
    file.Write(bytes);
    file.Close();
}

void SetDate(const QString &path, const QDateTime &date)
{
    const timespec times[] = {{0, UTIME_OMIT}, {date.toSecsSinceEpoch(), 0}};
    CheckCall(::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0) == 0, path);
}

void LinkOrCopy(const QString &from, const QString &to)
{
    MakeFolder(QFileInfo(to).path());
    if (::link(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) != 0)
        Copy(from, to);
}

QString ReadFile(const QString &path, QByteArray &bytes)
{
    QFile file(path);
    const QFileInfo info(path);
    if (info.exists() && !info.isFile()) // a pipe would have us wait
        return "it is no file";
    if (file.open(QIODevice::ReadOnly))
        bytes = file.readAll();
    return file.error() == QFileDevice::NoError ? QString() : file.errorString();
}

bool IsSameFile(const QString &a, const QString &b)
{
    std::error_code error;
    return std::filesystem::equivalent(Encoded(a), Encoded(b), error);
}

void MakeFolder(const QString &path)
{
    std::error_code error;
    std::filesystem::create_directories(Encoded(path), error);
    if (error)
        FailOf(path, error.value());
}

void Rename(const QString &from, const QString &to)
{
    CheckCall(::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0,
              to);
}

bool Exchange(const QString &a, const QString &b)
{
    const bool done = ::renameat2(AT_FDCWD, QFile::encodeName(a).constData(), AT_FDCWD,
                                  QFile::encodeName(b).constData(), RENAME_EXCHANGE)
                      == 0;
    CheckCall(done || errno == EINVAL || errno == ENOSYS || errno == ENOTSUP, b);
    return done;
}

void Remove(const QString &path)
{
    const UniqueFd folder(::open(Folder(path).constData(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (folder)
        RemoveTree(folder.Get(), Encoded(QFileInfo(path).fileName()));
}

TemporaryFolder::TemporaryFolder()
{
    if (!m_dir.isValid())
        Fail(QString("the folder for temporary files: %1").arg(m_dir.errorString()));
    m_dir.setAutoRemove(false);
}

TemporaryFolder::~TemporaryFolder()
{
    try {
        Remove(m_dir.path());
    } catch (const Failure &) {
        // Whoever ends has no one to tell.
    }
}

QStringList FilesBelow(const QString &dir)
{
    QStringList files;
    const int prefix = QDir(dir).path().size() + 1;
    QDirIterator entry(dir, QDir::Files | QDir::Hidden | QDir::System,
                       QDirIterator::Subdirectories);
    while (entry.hasNext())
        files << entry.next().mid(prefix);
    return files;
}

void Sync(const QString &path)
{
    const UniqueFd file(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC));
    CheckCall(file && ::syncfs(file.Get()) == 0, path);
}
