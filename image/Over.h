#pragma once

#include <array>

#include "Image.h"

namespace pyrelux {

/// A premultiplied picture laid over another one, which is premultiplied, of floats, of the same size and taken for
/// opaque: front + back (1 - A), with the front's alpha A limited to 0 .. 1. Light is added and may exceed 1; alpha is
/// exactly 1. Added up in float and not rounded, also when the picture in front has bytes.
///
/// `density`, 0 .. 1, raises A as Delivery::density does.
Image over(const Image &front, const Image &back, float density = 0.0f);

/// The same over one opaque colour: red, green, blue in 0 .. 1.
Image over(const Image &front, const std::array<double, 3> &colour, float density = 0.0f);

}  // namespace pyrelux
