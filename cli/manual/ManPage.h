#pragma once

#include <string>
#include <vector>

#include "Option.h"
#include "Parameters.h"

namespace pyrelux::cli {

/// The manual page in roff, with the macros of man(7) and a table for tbl(1).
std::string manPage(const Program &program, const std::vector<host::ParameterDeclaration> &parameters);

}  // namespace pyrelux::cli
