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
    QByteArray bytes;
    if (DocumentSize(name) > 0)
        GetFileData(DocumentsDir() + "/" + name, bytes);
    return bytes;
}

qint64 DocumentSize(const QString &name)
{
    if (!DataSingleton::Inst())
        return 0; // a page that stands alone
    const QString home = QFileInfo(DocumentsDir()).canonicalFilePath() + "/";
    const QFileInfo file(DocumentsDir() + "/" + name);
    const bool is_document = file.isFile() && file.isReadable() && file.size() <= kMostBytes
                             && file.canonicalFilePath().startsWith(home);
    return is_document ? file.size() : 0;
}

void DeleteDocuments()
{
    DeleteFile(DataSingleton::Inst()->GetDownloadsDir() + "/" + kDescriptionsArchive);
    DeleteFile(DocumentsDir()); // a link would lead the deletion of a directory astray
    DeleteDirectory(DocumentsDir());
}
