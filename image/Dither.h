#pragma once

#include <cstdint>

namespace pyrelux {

/// The dither threshold (0 .. 1) of pixel (x, y): a value v in 0 .. 1 is stored as floor(255 v + threshold). Dithering
/// spreads the rounding error over neighbouring pixels, so faint gradients show no bands. Values that are exact 8-bit
/// levels do not change.
///
/// The thresholds form an additive recurrence in two dimensions. Its steps are the powers -1 and -2 of the plastic
/// number (x^3 = x + 1) modulo 1, here in units of 2^-32: neighbours differ much, and no pattern repeats.
inline float ditherThreshold(int x, int y) {
  const std::uint32_t place = static_cast<std::uint32_t>(x) * 3242174889u + static_cast<std::uint32_t>(y) * 2447445414u;
  // Within 2^-8 .. 1 - 2^-8, so that an error in the last bits of 255 v does not change an exact level.
  constexpr float unit = 1.0f / 16777216.0f;
  return static_cast<float>(static_cast<std::int32_t>(place >> 8)) * (unit * (1.0f - 1.0f / 128.0f)) + 1.0f / 256.0f;
}

}  // namespace pyrelux
