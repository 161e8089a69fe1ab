#pragma once

#include <cstdint>

#include "HostInterfaces.h"

namespace pyrelux {

/// The tint of a copy from its place along the tongue: the sum of up to ten stops, each a colour faded in and out over
/// a range of positions by one of 17 curves. Lives on the stack; nothing is allocated.
class ColourRamp {
 public:
  static constexpr int capacity = 10;

  /// Adds a stop; at most `capacity` of them. It acts where start <= p <= end. `bias` (0 .. 1) bends the position
  /// inside the range: 0.5 hardly, less pushes it up, more pushes it down. `curveType` is 0 .. 16; any other
  /// contributes nothing.
  void addStop(std::int32_t curveType, double start, double end, double bias, const Colour &colour, const Colour &gain);

  /// The colour at position p. Not clamped: overlapping stops may exceed 1.
  Colour evaluate(double p) const;

 private:
  std::int32_t stopCount_ = 0;
  std::int32_t curveType_[capacity];
  double start_[capacity];
  double end_[capacity];
  double bias_[capacity];
  Colour colour_[capacity];
  Colour gain_[capacity];
};

/// The flame's ramp: `inner` on the source, `centre` halfway along the tongue, `outer` at its far end.
ColourRamp makeFlameRamp(const Colour &inner, const Colour &centre, const Colour &outer);

/// Bends u (0 .. 1) by a stop's bias; the ends stay where they are.
double biased(double u, double bias);

/// The weight that curve gives at u (0 .. 1); 0 for a curve outside 0 .. 16.
double curveShape(std::int32_t curveType, double u);

}  // namespace pyrelux
