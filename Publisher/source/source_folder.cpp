#include "source/source_folder.h"

#include "files.h"

#include <QFile>
#include <QRegularExpression>

#include <filesystem>

namespace {

QString PathOf(const std::filesystem::path &path)
{
    return QFile::decodeName(path.c_str());
}

/// Why nothing at \a path can be published; empty for a folder and for a file that can be read.
QString EntryFault(const std::filesystem::path &path)
{
    std::error_code error;
    const bool is_link = std::filesystem::is_symlink(path, error);
    const std::filesystem::file_status status =
        std::filesystem::status(path, error); // of what a link leads to
    if (is_link && status.type() == std::filesystem::file_type::not_found)
        return "a link that leads nowhere";
    if (error)
        return QString::fromStdString(error.message());
    if (std::filesystem::is_directory(status))
        return is_link ? "a link to a folder" : QString();
    if (!std::filesystem::is_regular_file(status))
        return "neither a file nor a folder";
    QFile file(PathOf(path));
    return file.open(QIODevice::ReadOnly) ? QString() : file.errorString();
}

/// Why nobody means to publish what lies at \a path; empty for anything else.
QString Leftover(const std::filesystem::path &path, const std::filesystem::path &base)
{
    static const QRegularExpression editors_copy(
        "(~|\\.bak|\\.orig|\\.rej|\\.sw[op]|\\.tmp)$|^#.*#$|^Thumbs\\.db$|^desktop\\.ini$");
    const QString name = PathOf(path.filename());
    if (name.startsWith('.'))
        return "a hidden file";
    if (name.contains(editors_copy))
        return "a copy that a program left";
    std::error_code error;
    if (!std::filesystem::is_symlink(path, error))
        return {};
    const std::filesystem::path target = std::filesystem::canonical(path, error);
    const std::filesystem::path from_base =
        target.lexically_relative(std::filesystem::canonical(base, error));
    return !error && *from_base.begin() == ".." ? "a link that leads out of the tree" : QString();
}

bool IsUtf8(const std::filesystem::path &path)
{
    return PathOf(path).toUtf8() == path.c_str();
}

} // namespace

SourceFolder ReadSourceFolder(const QString &path, const QString &base, Findings &findings)
{
    SourceFolder folder;
    std::error_code error;
    // Qt passes over names that are not UTF-8.
    std::filesystem::directory_iterator entry(Encoded(path), error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const QString name = PathOf(entry->path().filename());
        const QString leftover = Leftover(entry->path(), Encoded(base));
        const QString fault =
            IsUtf8(entry->path()) ? EntryFault(entry->path()) : QString("the name is not UTF-8");
        if (!leftover.isEmpty())
            findings.Add(Rule::NotPublished, path + '/' + name, leftover);
        else if (!fault.isEmpty())
            findings.Add(Rule::Unreadable, path + '/' + name, fault);
        else
            (std::filesystem::is_directory(entry->path(), error) ? folder.folders : folder.files)
                << name;
    }
    if (error)
        findings.Add(Rule::Unreadable, path, QString::fromStdString(error.message()));
    folder.files.sort();
    folder.folders.sort();
    return folder;
}
