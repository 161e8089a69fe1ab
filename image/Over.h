#pragma once

#include <array>

#include "Image.h"

namespace pyrelux {

/// A premultiplied picture laid over another one, which is premultiplied, of floats and of the same size. Added up in
/// float and not rounded, also when the picture in front has bytes.
Image over(const Image &front, const Image &back);

/// The same over one opaque colour: red, green, blue in 0 .. 1.
Image over(const Image &front, const std::array<double, 3> &colour);

}  // namespace pyrelux
