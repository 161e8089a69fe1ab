#pragma once

#include <cstdint>

#include "FourPixels.h"

namespace pyrelux {

/// The dither thresholds (0 .. 1) of four pixels from (x, y) on: a value v in 0 .. 1 is stored as floor(255 v +
/// threshold). Dithering spreads the rounding error over neighbouring pixels, so faint gradients show no bands. Values
/// that are exact 8-bit levels do not change.
///
/// The thresholds form an additive recurrence in two dimensions. Its steps are the powers -1 and -2 of the plastic
/// number (x^3 = x + 1) modulo 1, here in units of 2^-32: neighbours differ much, and no pattern repeats.
inline FourFloats ditherThresholds(int x, int y) {
  using FourPlaces = std::uint32_t __attribute__((vector_size(16)));
  constexpr std::uint32_t stepX = 3242174889u, stepY = 2447445414u;
  const std::uint32_t first = static_cast<std::uint32_t>(x) * stepX + static_cast<std::uint32_t>(y) * stepY;
  const FourPlaces places = first + FourPlaces{0, stepX, 2 * stepX, 3 * stepX};
  // Within 2^-8 .. 1 - 2^-8, so that an error in the last bits of 255 v does not change an exact level.
  constexpr float unit = 1.0f / 16777216.0f;
  const auto fractions = reinterpret_cast<FourIntegers>(places >> 8);
  return __builtin_convertvector(fractions, FourFloats) * (unit * (1.0f - 1.0f / 128.0f)) + 1.0f / 256.0f;
}

/// Of one pixel.
inline float ditherThreshold(int x, int y) { return ditherThresholds(x, y)[0]; }

}  // namespace pyrelux
