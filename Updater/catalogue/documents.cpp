#include "catalogue/documents.h"

#include "Repository/names.h"
#include "app/datasingleton.h"
#include "common/common_helper.h"

#include <QFileInfo>

namespace {

const qint64 kMostBytes = 10000000; // what a page or picture needs at the most, and far more

QString DocumentsDir()
{
    return DataSingleton::Inst()->GetDownloadsDir() + "/" + kDescriptionsFolder;
}

} // namespace

QByteArray DocumentData(const QString &name)
{
    if (!DataSingleton::Inst())
        return QByteArray(); // a page that stands alone
    const QString path = DocumentsDir() + "/" + name;
    const QString home = QFileInfo(DocumentsDir()).canonicalFilePath() + "/";
    const QFileInfo file(path);
    QByteArray bytes;
    if (file.isFile() && file.size() <= kMostBytes && file.canonicalFilePath().startsWith(home))
        GetFileData(path, bytes);
    return bytes;
}

void DeleteDocuments()
{
    DeleteFile(DataSingleton::Inst()->GetDownloadsDir() + "/" + kDescriptionsArchive);
    DeleteFile(DocumentsDir()); // a link would lead the deletion of a directory astray
    DeleteDirectory(DocumentsDir());
}
