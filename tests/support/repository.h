#pragma once

#include <QMap>
#include <QString>

using Files = QMap<QString, QByteArray>; // path below a folder: content

/// Packs \a files as an archive of the kind that its name's ending says, with a tool of another
/// maker.
bool PackArchive(const QString &archive, const Files &files);

/// A repository for the updater, its manifests written as their format says.
class Repository
{
public:
    /// \a dir is what a web server shows as the repository's base URL.
    explicit Repository(const QString &dir);

    /// Adds an archive and its line in the file list. The server will date it by \a date, noon.
    void Add(const QString &remote_dir, const QString &file_name, const Files &files,
             const QString &date = "2024-05-01");
    /// Writes both manifests and the archive of the \a descriptions.
    bool Publish(const Files &descriptions = {{"x.htm", "x"}});

    QString ArchivePath(const QString &remote_dir, const QString &file_name) const;

    QByteArray file_list = "//zeft_upt_fversions.info\r\n";
    QByteArray package_list;

private:
    QString m_dir;
};
