#pragma once

#include <string>
#include <vector>

#include "Option.h"
#include "Parameters.h"

namespace pyrelux::cli {

/// A page of section 1 in roff, with the macros of man(7) and tables for tbl(1).
struct ManualPage {
  std::string name;  ///< "pyrelux-render"
  std::string text;
};

/// The program's page, and one for each command, in that order.
std::vector<ManualPage> manualPages(const Program &program, const std::vector<host::ParameterDeclaration> &parameters);

}  // namespace pyrelux::cli
