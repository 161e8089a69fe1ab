#pragma once

#include <array>

#include "Image.h"

namespace pyrelux {

/// Composes `front` over `back`: front + back (1 - A), where A is the front's alpha, limited to 0 .. 1. Both are
/// premultiplied and of the same size; `back` has float samples and counts as opaque. The result has float samples,
/// which are not rounded. Its light may exceed 1; its alpha is 1.
///
/// `density` (0 .. 1) raises A as Delivery::density does.
Image over(const Image &front, const Image &back, float density = 0.0f);

/// The same over an opaque colour: red, green, blue in 0 .. 1.
Image over(const Image &front, const std::array<double, 3> &colour, float density = 0.0f);

}  // namespace pyrelux
