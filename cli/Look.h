#pragma once

#include "Parameters.h"
#include "Project.h"
#include "RenderOptions.h"

namespace pyrelux::cli {

/// Sets the parameters as the options and the project say: the preset first, then the project, then --set, then
/// --draw-bits. Returns the bits per channel to draw with, 8 or 16: those of the filter's Color Depth, which is 16 Bit
/// unless something says otherwise. Throws UsageError.
int applyLook(host::ParameterSet &parameters, const RenderOptions &options, const Project &project);

}  // namespace pyrelux::cli
