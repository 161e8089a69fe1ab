#pragma once

#include <cstdint>

#include "HostInterfaces.h"

namespace pyrelux {

/// The colour of a copy as a function of its position along the tongue (0 on the source .. 1 at the far end): the sum
/// of up to ten stops. Each stop is a colour that one of 17 curves fades in and out over a range of positions. The ramp
/// allocates no memory. Thread: any; a ramp that no one changes may be read by several.
class ColourRamp {
 public:
  static constexpr int capacity = 10;

  /// Adds a stop. The caller adds at most `capacity` stops; nothing checks it. The stop acts where start <= p <= end.
  /// `curveType` is 0 .. 16; any other contributes nothing. `bias` (0 .. 1) bends the position inside the range: a bias
  /// of 0.5 hardly changes it, a smaller one raises it, a larger one lowers it. `colour` is the stop's colour, usually
  /// 0 .. 1. `gain` multiplies the stop's contribution, channel by channel: 1 leaves it as it is.
  void addStop(std::int32_t curveType, double start, double end, double bias, const Colour &colour, const Colour &gain);

  /// The colour at position p: over all stops, the sum of colour * curve * gain. Not clamped: overlapping stops may
  /// exceed 1.
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

/// The flame's ramp of colours (0 .. 1): `inner` on the source, `centre` halfway along the tongue, `outer` at its end.
ColourRamp makeFlameRamp(const Colour &inner, const Colour &centre, const Colour &outer);

/// Bends u (0 .. 1) by a stop's bias (0 .. 1); 0 stays 0 and 1 stays 1.
double biased(double u, double bias);

/// The weight (0 .. 1) that a curve gives at u (0 .. 1); 0 for a curve outside 0 .. 16.
double curveShape(std::int32_t curveType, double u);

}  // namespace pyrelux
