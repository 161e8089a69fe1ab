#pragma once

#include "FarmFiles.h"
#include "RenderRequest.h"

namespace pyrelux::farm {

// A request as JSON, without what the project file beside it holds: the scene, the preset, the settings. Paths are kept
// as they are.

Json toJson(const job::RenderRequest &request);

/// Throws ValueError for what toJson() never gives.
job::RenderRequest requestFrom(const Json &json);

}  // namespace pyrelux::farm
