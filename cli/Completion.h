#pragma once

#include <string>
#include <vector>

#include "CommandLine.h"

namespace pyrelux::cli {

/// The shells that there is completion for.
const std::vector<std::string> &shellNames();

/// The script that makes a shell complete the program's commands, options and what they take.
std::string completionScript(const std::string &shell, const CommandDescription &program);

}  // namespace pyrelux::cli
