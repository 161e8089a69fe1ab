#pragma once

#include "Pass.h"

namespace pyrelux::soft {

/// Draws a pass pixel by pixel, quad by quad. It defines the result that the faster ways must give, byte for byte on
/// 8-bit surfaces. It is slow, and draws what no faster way can draw.
void drawByReference(const Pass &pass, Pixels &target);

/// The same for one rectangle of the target, `x0` <= x < `x1` and `y0` <= y < `y1`.
void drawByReference(const Pass &pass, Pixels &target, int x0, int y0, int x1, int y1);

}  // namespace pyrelux::soft
