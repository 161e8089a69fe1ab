#pragma once

#include <cstdint>

#include "Parameters.h"

namespace pyrelux::host {

/// The times at which a filter is asked for frames.
struct FilterTime {
  double origin = 0.0;  ///< the time of frame 0
  double scale = 1.0;   ///< from a frame to the next, above 0

  double at(std::int64_t frame) const { return origin + scale * static_cast<double>(frame); }
  /// The frame that is nearest to a time.
  std::int64_t frameAt(double time) const;

  bool operator==(const FilterTime &other) const { return origin == other.origin && scale == other.scale; }
  bool operator!=(const FilterTime &other) const { return !(*this == other); }
};

/// The same parameters by the filter's times: what they are at a frame, the result is at the time of that frame. Curves
/// are asked for whole frames only.
ParameterSet inFilterTime(const ParameterSet &parameters, const FilterTime &time);

}  // namespace pyrelux::host
