#include "catalogue/descriptions.h"

#include "Repository/description.h"
#include "Repository/names.h"
#include "app/datasingleton.h"
#include "common/common_helper.h"

#include <QFileInfo>

namespace {

QString DescriptionsDir()
{
    return DataSingleton::Inst()->GetDownloadsDir() + "/" + kDescriptionsFolder;
}

} // namespace

QString DescriptionsArchive()
{
    return DataSingleton::Inst()->GetDownloadsDir() + "/" + kDescriptionsArchive;
}

QByteArray DescriptionData(const QString &name)
{
    QByteArray bytes;
    const qint64 size = DescriptionSize(name);
    if (size > 0 && size <= kMostDescriptionBytes)
        GetFileData(DescriptionsDir() + "/" + name, bytes);
    return bytes;
}

qint64 DescriptionSize(const QString &name)
{
    if (!DataSingleton::Inst())
        return 0; // a page that stands alone
    const QString home = QFileInfo(DescriptionsDir()).canonicalFilePath() + "/";
    const QFileInfo file(DescriptionsDir() + "/" + name);
    const bool is_description =
        file.isFile() && file.isReadable() && file.canonicalFilePath().startsWith(home);
    return is_description ? file.size() : 0;
}

void DeleteDescriptions()
{
    DeleteFile(DescriptionsArchive());
    DeleteFile(DescriptionsDir()); // a link would lead the deletion of a directory astray
    DeleteDirectory(DescriptionsDir());
}
