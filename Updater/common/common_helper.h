#pragma once

/// The helper library's front: includes every theme, so that one include gives every free function.

#include "common/file_data.h"
