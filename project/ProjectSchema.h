#pragma once

#include <string>
#include <vector>

#include "Parameters.h"

namespace pyrelux::project {

/// The JSON Schema (draft 2020-12) of project files, made of the filter's declarations.
std::string projectSchema(const std::vector<host::ParameterDeclaration> &declarations);

}  // namespace pyrelux::project
