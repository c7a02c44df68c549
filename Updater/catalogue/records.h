#pragma once

#include <memory>

class QString;
struct DN_FILE_STRUCT;

/// Makes the record of a line of the file list; null for a line with too few fields or of another
/// platform. Install target and version are still empty. The file name may be any text.
std::unique_ptr<DN_FILE_STRUCT> RecordFromLine(const QString &line);

/// Sets install_root and install_dir from the record's file_name.
void SetInstallTarget(DN_FILE_STRUCT &record, const QString &installed_path);
