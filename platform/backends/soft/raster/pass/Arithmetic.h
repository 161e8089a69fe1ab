#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "Pass.h"

// The arithmetic of 8-bit surfaces, in the form that every kernel reproduces bit by bit. Values are levels, 0 .. 255.

namespace pyrelux::soft {

/// A texture position cut to the 1/256 texel that 8-bit filtering knows, rounded to nearest: whole texel and fraction.
struct Tap {
  int texel;
  int fraction;  ///< 0 .. 255
};

inline Tap tapAt(std::int64_t position) {
  const std::int64_t fixed = (position + (std::int64_t{1} << 23)) >> 24;
  return {static_cast<int>(fixed >> 8), static_cast<int>(fixed & 255)};
}

/// a at fraction 0, towards b; rounded to a whole level.
inline int lerp(int a, int b, int fraction) { return a + ((fraction * (b - a) + 128) >> 8); }

/// A colour channel with 15 fractional bits.
inline int tintOf(float colour) {
  return std::clamp(static_cast<int>(std::lround(static_cast<double>(colour) * 32768.0)), 0, 32767);
}

/// level * tint / 32768, rounded to a whole level; a tint of 32767 leaves every level as it is.
inline int modulate(int level, int tint) { return (level * tint + 16384) >> 15; }

inline int add(int a, int b) { return std::min(a + b, 255); }

/// level * weight / 255, rounded to nearest, exactly.
inline int scale255(int level, int weight) {
  const int product = level * weight + 128;
  return (product + (product >> 8)) >> 8;
}

inline int over(int source, int sourceAlpha, int destination) {
  return add(source, scale255(destination, 255 - sourceAlpha));
}

inline int blend(Blend blend, int source, int sourceAlpha, int destination) {
  switch (blend) {
    case Blend::Replace:
      return source;
    case Blend::Add:
      return add(source, destination);
    case Blend::Over:
      return over(source, sourceAlpha, destination);
  }
  return source;
}

/// The same for float surfaces: nothing is rounded or clamped but by single precision.
inline float blend(Blend blend, float source, float sourceAlpha, float destination) {
  switch (blend) {
    case Blend::Replace:
      return source;
    case Blend::Add:
      return source + destination;
    case Blend::Over:
      return source + destination * (1.0f - sourceAlpha);
  }
  return source;
}

/// A float's 8-bit level; NaN is 0.
inline std::uint8_t toLevel(float value) {
  if (!(value > 0.0f)) return 0;
  return static_cast<std::uint8_t>(std::lround(std::min(value, 1.0f) * 255.0f));
}

}  // namespace pyrelux::soft
