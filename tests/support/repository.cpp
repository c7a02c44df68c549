#include "support/repository.h"

#include "support/sample_files.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

bool PackArchive(const QString &archive, const Files &files)
{
    const QTemporaryDir stage;
    for (auto file = files.begin(); file != files.end(); ++file) {
        if (!WriteFile(stage.filePath(file.key()), file.value()))
            return false;
    }
    const QStringList entries =
        QDir(stage.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    return WriteFile(archive, QByteArray())
           && QProcess::execute("bsdtar",
                                QStringList{"-a", "-cf", archive, "-C", stage.path()} + entries)
                  == 0;
}

Repository::Repository(const QString &dir)
    : m_dir(dir)
{
}

QString Repository::ArchivePath(const QString &remote_dir, const QString &file_name) const
{
    return m_dir + "/zeft/" + remote_dir + "/" + file_name;
}

void Repository::Add(const QString &remote_dir, const QString &file_name, const Files &files,
                     const QString &date)
{
    const QString path = ArchivePath(remote_dir, file_name);
    PackArchive(path, files);
    const QByteArray bytes = ReadFile(path);
    const QString stamp = date + "T12:00:00.000Z";
    WriteFile(path, bytes, stamp);
    file_list += QString("8#%1#%2#%3#%4#%5\r\n")
                     .arg(file_name, remote_dir, stamp)
                     .arg(bytes.size())
                     .arg(ByteSum(bytes))
                     .toUtf8();
}

bool Repository::Publish(const Files &descriptions)
{
    Files files;
    for (auto file = descriptions.begin(); file != descriptions.end(); ++file)
        files.insert("hwd_doc/" + file.key(), file.value());
    return WriteFile(m_dir + "/zeft/zeft_upt_fversions.info", file_list)
           && WriteFile(m_dir + "/zeft/bsp/zeft_bsps.info", package_list)
           && PackArchive(m_dir + "/zeft/bsp/hwd_doc.zip", files);
}
