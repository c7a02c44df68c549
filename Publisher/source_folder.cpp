#include "source_folder.h"

#include <QFile>

#include <filesystem>

namespace fs = std::filesystem;

namespace {
QString PathOf(const fs::path &path)
{
    return QFile::decodeName(path.c_str());
}

/// Why nothing at \a path can be published; empty for a folder and for a file that can be read.
QString EntryFault(const fs::path &path)
{
    std::error_code error;
    const bool is_link = fs::is_symlink(path, error);
    const fs::file_status status = fs::status(path, error); // of what a link leads to
    if (is_link && status.type() == fs::file_type::not_found)
        return "a link that leads nowhere";
    if (error)
        return QString::fromStdString(error.message());
    if (fs::is_directory(status))
        return is_link ? "a link to a folder" : QString();
    if (!fs::is_regular_file(status))
        return "neither a file nor a folder";
    QFile file(PathOf(path));
    return file.open(QIODevice::ReadOnly) ? QString() : file.errorString();
}

bool IsUtf8(const fs::path &path)
{
    return PathOf(path).toUtf8() == path.c_str();
}
} // namespace

SourceFolder ReadSourceFolder(const QString &path, QStringList &problems)
{
    SourceFolder folder;
    std::error_code error;
    // Qt passes over names that are not UTF-8.
    fs::directory_iterator entry(QFile::encodeName(path).toStdString(), error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        const QString name = PathOf(entry->path().filename());
        const QString fault =
            IsUtf8(entry->path()) ? EntryFault(entry->path()) : QString("the name is not UTF-8");
        if (!fault.isEmpty())
            problems << QString("%1/%2: %3").arg(path, name, fault);
        else
            (fs::is_directory(entry->path(), error) ? folder.folders : folder.files) << name;
    }
    if (error)
        problems << QString("%1: %2").arg(path, QString::fromStdString(error.message()));
    folder.files.sort();
    folder.folders.sort();
    return folder;
}

QString ReadSourceFile(const QString &path, QByteArray &bytes)
{
    QFile file(path);
    if (file.open(QIODevice::ReadOnly))
        bytes = file.readAll();
    if (file.error() == QFileDevice::NoError)
        return {};
    return QString("%1: %2").arg(path, file.errorString());
}
