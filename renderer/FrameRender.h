#pragma once

#include "FlamePath.h"
#include "HostInterfaces.h"

namespace pyrelux {

/// Incremented by every render call, before anything else; nothing reads it.
extern std::int32_t renderCounter;

/// Draws one frame: the flame of `input` at the frame time into `output`, and the source over it or added to it.
///
/// Thread: one render at a time in a process (see EntryGuard). GL state: a context is current that draws into the
/// output, with the rectangle (-width/2, -height/2) .. (width/2, height/2) mapped onto it; its fixed-function state is
/// left as initOpenGl() leaves it, the surface's texture bound and enabled. Colour: premultiplied on both sides.
/// Errors: false, with nothing drawn, when the guard gives up, the host offers no parameter values, or the output is
/// not a texture; a surface that can't be made goes unnoticed.
bool renderFrame(ParameterSource &parameters, FrameImage &output, FrameImage &input, double timeFrames,
                 const PhaseAccumulators &phases);

}  // namespace pyrelux
