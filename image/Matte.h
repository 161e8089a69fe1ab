#pragma once

#include <array>

#include "Image.h"

// Alpha for pictures that have none.

namespace pyrelux {

/// The picture as light on black: premultiplied, its colours as they are, its alpha their luma (ITU-R BT.709). Its own
/// alpha is not looked at. Keeps the kind of samples.
Image lumaMatte(const Image &picture);

/// The picture without the colour `key` (red, green, blue, 0 .. 1) behind it: transparent where it has that colour,
/// opaque from `softness` (above 0, at most 1) on, and unmixed from the colour between. The distance of two colours is
/// that of the channel in which they differ most. Its own alpha is not looked at. Premultiplied; keeps the kind of
/// samples.
Image keyMatte(const Image &picture, const std::array<double, 3> &key, double softness);

}  // namespace pyrelux
