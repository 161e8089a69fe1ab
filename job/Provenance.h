#pragma once

#include <string>

#include "Background.h"
#include "FrameRenderer.h"
#include "Parameters.h"
#include "RenderRequest.h"

namespace pyrelux::job {

/// Everything the pictures depend on except input and frame number, as one line of ASCII JSON. Of a background's files
/// it has the time of the last change; `background` may be null. `backend`: one of host::backendNames().
std::string provenanceOf(const RenderRequest &request, const Background *background,
                         const host::ParameterSet &parameters, const host::FrameSettings &settings,
                         const std::string &backend, int bits);

}  // namespace pyrelux::job
