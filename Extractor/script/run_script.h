#pragma once

#include "base/progress.h"

#include <string>

/// Runs the post-installation script at \a script_path in the component's folder and waits for its
/// end; a background process that it leaves doesn't hold up the run.
///
/// What it says goes to the file "<name of the folder>_install.log" in the working directory, made
/// anew each time, and removed if nothing stands in it and nobody may write any more; a line that
/// is nothing but a percent goes to \a progress, too. A script that can't be started or fails is a
/// Failure, with the script's exit code.
void RunScript(const std::string &script_path, const std::string &folder_path, Progress &progress);
