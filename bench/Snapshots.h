#pragma once

#include "NumericHelpers.h"
#include "Snapshot.h"

// The parameters that benchmarks render with.

namespace pyrelux::bench {

/// The parameters at their defaults, as a snapshot.
inline Snapshot defaultSnapshot() {
  Snapshot s{};
  s.tongues = 6;
  s.turbAmount = 0.12;
  s.turbWavelength = 0.375;
  s.turbSpeed = 0.1;
  s.wiggleAmount = 0.5;
  s.wiggleTurbulence = 0.075;
  s.glow = 40.6;
  s.spread = pi / 6;
  s.length = 0.3;
  s.inner = {1, 1, 0};
  s.centre = {1, 0.5, 0};
  s.outer = {1, 0, 0};
  s.point = {0.5, 0.5};
  s.steps = 40;
  return s;
}

}  // namespace pyrelux::bench
