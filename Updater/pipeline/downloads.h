#pragma once

#include <QString>

struct DN_FILE_STRUCT;

/// A component's file in the downloads directory, when it is complete.
QString CompletePath(const DN_FILE_STRUCT &record);

/// A component's partial file in the downloads directory.
QString PartialPath(const DN_FILE_STRUCT &record);

/// Deletes both, if they are there.
void DeleteDownload(const DN_FILE_STRUCT &record);
