#include "pipeline/downloads.h"

#include "app/datasingleton.h"
#include "app/mainwindow_helper.h"
#include "common/common_helper.h"

QString CompletePath(const DN_FILE_STRUCT &record)
{
    return DataSingleton::Inst()->GetDownloadsDir() + "/" + record.file_name;
}

QString PartialPath(const DN_FILE_STRUCT &record)
{
    return CompletePath(record) + ".dnl";
}

void DeleteDownload(const DN_FILE_STRUCT &record)
{
    DeleteFile(PartialPath(record));
    DeleteFile(CompletePath(record));
}
