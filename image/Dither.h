#pragma once

#include <cstdint>

namespace pyrelux {

/// The threshold in 0 .. 1 above which a fraction of an 8-bit level at pixel x, y becomes the next level: a value v in
/// 0 .. 1 is stored as floor(255 v + threshold). It spreads what rounding would lose over neighbouring pixels, so that
/// faint gradients show no bands. Levels that 8 bits hold stay exactly as they are.
///
/// The thresholds are those of an additive recurrence in two dimensions, whose steps are the powers -1 and -2 of the
/// plastic number (x^3 = x + 1) modulo 1, here in units of 2^-32: neighbours are far apart, and no pattern repeats.
inline float ditherThreshold(int x, int y) {
  const std::uint32_t place = static_cast<std::uint32_t>(x) * 3242174889u + static_cast<std::uint32_t>(y) * 2447445414u;
  // In 2^-8 .. 1 - 2^-8: an error in the last bits of 255 v must not move a level that is exact.
  constexpr float unit = 1.0f / 16777216.0f;
  return static_cast<float>(static_cast<std::int32_t>(place >> 8)) * (unit * (1.0f - 1.0f / 128.0f)) + 1.0f / 256.0f;
}

}  // namespace pyrelux
