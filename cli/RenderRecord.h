#pragma once

#include <cstdint>
#include <string>

#include "Background.h"
#include "FrameRenderer.h"
#include "Parameters.h"
#include "RenderOptions.h"

namespace pyrelux::cli {

/// All that the pictures depend on but the input and the frame, as one line of JSON in ASCII. Of a background's files
/// it has the time of the last change; `background` may be null.
std::string recordOf(const RenderOptions &options, const Background *background, const host::ParameterSet &parameters,
                     const host::FrameSettings &settings, std::int32_t backendId, int bits);

}  // namespace pyrelux::cli
