#include "catalogue/descriptions.h"

#include "Repository/names.h"
#include "app/datasingleton.h"
#include "common/common_helper.h"

#include <QFileInfo>

namespace {

const qint64 kMostBytes = 10000000; // what a page or picture needs at the most, and far more

QString DescriptionsDir()
{
    return DataSingleton::Inst()->GetDownloadsDir() + "/" + kDescriptionsFolder;
}

} // namespace

QByteArray DescriptionData(const QString &name)
{
    QByteArray bytes;
    if (DescriptionSize(name) > 0)
        GetFileData(DescriptionsDir() + "/" + name, bytes);
    return bytes;
}

qint64 DescriptionSize(const QString &name)
{
    if (!DataSingleton::Inst())
        return 0; // a page that stands alone
    const QString home = QFileInfo(DescriptionsDir()).canonicalFilePath() + "/";
    const QFileInfo file(DescriptionsDir() + "/" + name);
    const bool is_description = file.isFile() && file.isReadable() && file.size() <= kMostBytes
                                && file.canonicalFilePath().startsWith(home);
    return is_description ? file.size() : 0;
}

void DeleteDescriptions()
{
    DeleteFile(DataSingleton::Inst()->GetDownloadsDir() + "/" + kDescriptionsArchive);
    DeleteFile(DescriptionsDir()); // a link would lead the deletion of a directory astray
    DeleteDirectory(DescriptionsDir());
}
