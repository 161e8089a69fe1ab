#pragma once

#include <string>

#include "Parameters.h"

namespace pyrelux::project {

/// What one sees change with the filter's parameter, or with one of ours, in a sentence with its full stop; empty for a
/// parameter that another filter declares.
std::string parameterHelp(const host::ParameterDeclaration &parameter);

}  // namespace pyrelux::project
