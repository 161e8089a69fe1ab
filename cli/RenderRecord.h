#pragma once

#include <cstdint>
#include <string>

#include "FrameRange.h"
#include "FrameRenderer.h"
#include "Parameters.h"
#include "RenderOptions.h"

namespace pyrelux::cli {

/// All that the pictures of these frames depend on but the input and the frame, as one line of JSON in ASCII. Of a
/// background file it has the time of its last change.
std::string recordOf(const RenderOptions &options, const FrameList &frames, const host::ParameterSet &parameters,
                     const host::FrameSettings &settings, std::int32_t rendererId, int bits);

}  // namespace pyrelux::cli
