#pragma once

#include <string>

#include "Option.h"

namespace pyrelux::cli {

/// docs/options.md: the options of every command in tables, a heading for each group.
std::string optionsPage(const Program &program);

}  // namespace pyrelux::cli
