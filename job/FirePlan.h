#pragma once

#include "Filter.h"
#include "Fire.h"
#include "RenderListener.h"
#include "RenderRequest.h"
#include "Sources.h"
#include "StopToken.h"

namespace pyrelux::job {

/// Puts the input into the room that its fire needs, where the request asks for as much, and plans the fire in that
/// room. `parameters`: those of withLife(). The filter's parameters are changed. Throws ValueError, media::InputError,
/// host::HostError.
Fire planFireIn(Sources &sources, const RenderRequest &request, host::Filter &filter,
                const host::ParameterSet &parameters, const FrameList &frames, const project::Clock &clock,
                RenderListener &listener, const StopToken &stop);

}  // namespace pyrelux::job
