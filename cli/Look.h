#pragma once

#include "Parameters.h"
#include "RenderOptions.h"

namespace pyrelux::cli {

/// Sets the parameters as the options say: the preset first, then --set. `bits` per channel are drawn (8 or 16). Throws
/// UsageError.
void applyLook(host::ParameterSet &parameters, const RenderOptions &options, int bits);

}  // namespace pyrelux::cli
