#pragma once

#include <cstdint>
#include <functional>

#include "Filter.h"
#include "FrameList.h"
#include "SequentialRenderer.h"

namespace pyrelux::host {

/// Where a filter draws a copy of its input. Coordinates are of the frame, (0, 0) lower left, (1, 1) upper right: the
/// point p of the input comes to (p.x * scaleX + offsetX, p.y * scaleY + offsetY).
struct CopyPlace {
  double scaleX, scaleY;
  double offsetX, offsetY;
  double left, bottom, right, top;  ///< the part of the input that the copy shows
};

/// Runs the filter on a backend that draws nothing, through the frames from `firstFrame` to the last of `frames`, and
/// visits each copy of more than one that `frames` would draw together: single ones are whole pictures, not parts of a
/// flame. `goesOn` is asked before each frame; where it answers false, the frames after are left out. The filter is
/// restarted before and after. Throws what FrameRenderer::render() throws.
void visitCopies(Filter &filter, std::int64_t firstFrame, const FrameList &frames, const FilterTime &time,
                 const std::function<void(const CopyPlace &)> &visit, const std::function<bool()> &goesOn);

}  // namespace pyrelux::host
