#include "catalogue/records.h"

#include "Repository/manifests.h"
#include "Repository/names.h"
#include "Repository/platform.h"
#include "app/mainwindow_helper.h"

std::unique_ptr<DN_FILE_STRUCT> RecordFromLine(const QString &line)
{
    FileLine file;
    if (!ReadFileLine(line, file) || !IsPlatformSupported(file.platform))
        return nullptr;
    auto record = std::make_unique<DN_FILE_STRUCT>();
    record->file_name = file.file_name;
    record->remote_dir = file.remote_dir;
    record->time_stamp = file.time_stamp;
    record->file_size = file.file_size;
    record->checksum = file.checksum;
    return record;
}

void SetInstallTarget(DN_FILE_STRUCT &record, const QString &installed_path)
{
    const InstallTarget target = InstallTargetOf(record.file_name);
    record.install_root = installed_path + target.parent;
    record.install_dir = target.dir;
}
