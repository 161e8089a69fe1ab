#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "Pass.h"

// The arithmetic of 8-bit surfaces. Every kernel reproduces it bit by bit. Values are levels, 0 .. 255.

namespace pyrelux::soft {

/// A texture position rounded to the nearest 1/256 texel, the resolution of 8-bit filtering: whole texel and fraction.
struct Tap {
  int texel;
  int fraction;  ///< 0 .. 255
};

inline Tap tapAt(std::int64_t position) {
  const std::int64_t fixed = (position + (std::int64_t{1} << 23)) >> 24;
  return {static_cast<int>(fixed >> 8), static_cast<int>(fixed & 255)};
}

/// Blends from a (fraction 0) towards b (fraction 256), rounded to a whole level.
inline int lerp(int a, int b, int fraction) { return a + ((fraction * (b - a) + 128) >> 8); }

/// A colour channel (0 .. 1) with 15 fractional bits: 0 .. 32767.
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

/// The same for float surfaces, without rounding or clamping beyond single precision.
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

/// The level of a float (0 .. 1, clamped); NaN gives 0.
inline std::uint8_t toLevel(float value) {
  if (!(value > 0.0f)) return 0;
  return static_cast<std::uint8_t>(std::lround(std::min(value, 1.0f) * 255.0f));
}

}  // namespace pyrelux::soft
