#pragma once

#include <vector>

#include "Option.h"
#include "Parameters.h"

namespace pyrelux::cli {

/// The program as people see it: without hidden commands, with "--help" in every command, and with the parameters as
/// choices of the options that take NAME=VALUE.
Program describe(const Program &program, const std::vector<host::ParameterDeclaration> &parameters);

/// A command's rows that are positionals, and the others.
std::vector<Option> positionalsOf(const Command &command);
std::vector<Option> optionsOf(const Command &command);

}  // namespace pyrelux::cli
