#include "catalogue/documents.h"

#include "app/datasingleton.h"
#include "common/common_helper.h"

#include <QFileInfo>

const char kDocumentsArchive[] = "hwd_doc.zip";

namespace {

QString DocumentsDir()
{
    return DataSingleton::Inst()->GetDownloadsDir() + "/hwd_doc";
}

} // namespace

QByteArray DocumentData(const QString &name)
{
    const QString path = DocumentsDir() + "/" + name;
    const QString home = QFileInfo(DocumentsDir()).canonicalFilePath() + "/";
    const QFileInfo file(path);
    QByteArray bytes;
    if (file.isFile() && file.canonicalFilePath().startsWith(home))
        GetFileData(path, bytes);
    return bytes;
}

void DeleteDocuments()
{
    DeleteFile(DataSingleton::Inst()->GetDownloadsDir() + "/" + kDocumentsArchive);
    DeleteFile(DocumentsDir()); // a link would lead the deletion of a directory astray
    DeleteDirectory(DocumentsDir());
}
