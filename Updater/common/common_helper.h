#pragma once

/// The helper library's front: includes every theme, so that one include gives every free function.

#include "Repository/platform.h"
#include "common/desktop.h"
#include "common/digest.h"
#include "common/file_copy.h"
#include "common/file_data.h"
#include "common/file_path.h"
#include "common/folder_walk.h"
#include "common/line_text.h"
#include "common/net_address.h"
#include "common/ntp.h"
#include "common/process_env.h"
#include "common/random_number.h"
#include "common/text_check.h"
#include "common/text_convert.h"
