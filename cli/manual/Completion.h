#pragma once

#include <string>
#include <vector>

#include "Option.h"

namespace pyrelux::cli {

/// The shells that there is completion for.
const std::vector<std::string> &shellNames();

/// The script that makes a shell complete the program's commands, options and what they take.
std::string completionScript(const std::string &shell, const Program &program);

}  // namespace pyrelux::cli
