#pragma once

#include "Parameters.h"
#include "Project.h"
#include "RenderOptions.h"

namespace pyrelux::cli {

/// Sets the parameters as the options and the project say: the preset first, then the project, then --set. `bits` per
/// channel are drawn (8 or 16). Throws UsageError.
void applyLook(host::ParameterSet &parameters, const RenderOptions &options, const Project &project, int bits);

}  // namespace pyrelux::cli
