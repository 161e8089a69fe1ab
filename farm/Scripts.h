#pragma once

#include <filesystem>
#include <string>

#include "Planner.h"

namespace pyrelux::farm {

/// Writes job.sh, merge.sh and README.md into a farm's folder. `program`: the path of the program where PATH has none.
/// Throws media::OutputError.
void writeScripts(const std::filesystem::path &folder, const Planned &planned, const std::string &program);

/// The text as one word of a shell.
std::string quoted(const std::string &text);

}  // namespace pyrelux::farm
