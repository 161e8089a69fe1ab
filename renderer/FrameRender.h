#pragma once

#include "FlamePath.h"
#include "HostInterfaces.h"

namespace pyrelux {

/// Counts the render calls. Deliberate: every call increments it first, although nothing reads it.
extern std::int32_t renderCounter;

/// Draws one frame into `output`: the flame of `input` at `timeFrames` (the host's frame time; may have a fraction),
/// then the source over the flame or added to it.
///
/// Thread: one render at a time in a process (see EntryGuard).
/// GL state: expects a current context that draws into the output and maps the rectangle (-width/2, -height/2) ..
/// (width/2, height/2) onto it. Leaves the fixed-function state as initOpenGl() does, with the surface's texture bound
/// and enabled.
/// Colour: input and output are premultiplied.
/// Errors: returns false and draws nothing when the guard gives up, the host offers no parameter values, or the output
/// is not a texture. A surface that can't be made is not reported.
bool renderFrame(ParameterSource &parameters, FrameImage &output, FrameImage &input, double timeFrames,
                 const PhaseAccumulators &phases);

}  // namespace pyrelux
