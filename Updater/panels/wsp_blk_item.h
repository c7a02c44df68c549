#pragma once

#include <QString>
#include <QStringList>

// What the help window reads of a block of the larger product, which makes these records.

struct WSP_BLK_HELP_STRUCT
{
    QStringList help_files; // relative to the block's "doc" directory
};

struct WSP_BLK_INFO_STRUCT
{
    WSP_BLK_HELP_STRUCT *help_info = nullptr; // null for a block without help
};

struct WSP_BLK_ITEM_STRUCT
{
    QString block_dir;
    WSP_BLK_INFO_STRUCT *block_info = nullptr;
};
