#pragma once

#include <string>

#include "Background.h"
#include "Fire.h"
#include "FrameRenderer.h"
#include "RenderRequest.h"
#include "Sources.h"
#include "Writer.h"

namespace pyrelux::job {

/// Everything the pictures depend on except input and frame number, as one line of ASCII JSON. Of a background's files
/// it has the time of the last change; `background` may be null. `backend`: one of host::backendNames().
std::string provenanceOf(const RenderRequest &request, const Background *background, const Fire &fire,
                         const host::FrameSettings &settings, const std::string &backend, int bits);

/// Everything that the bytes of an output depend on: the record in `format`, frames, rate, and the input's files with
/// the time of their last change, or its picture.
std::string recordOfAll(const media::OutputFormat &format, const FrameList &frames, Sources &sources);

}  // namespace pyrelux::job
