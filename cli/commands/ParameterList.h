#pragma once

#include <string>
#include <vector>

#include "Parameters.h"

namespace pyrelux::cli {

/// The filter's parameters that --set takes, in the inspector's order. Throws HostError when there is no filter.
std::vector<host::ParameterDeclaration> settableParameters();

/// What a parameter takes, in few words: "0..180 degrees", "0 Cover, 1 Mix".
std::string takes(const host::ParameterDeclaration &parameter);

/// The filter's parameters for the help of render, or why they are not known.
std::string parametersHelp();

}  // namespace pyrelux::cli
