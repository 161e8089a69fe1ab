#include "Snapshot.h"

#include <cmath>
#include <utility>

#include "NumericHelpers.h"
#include "ParameterIds.h"

namespace pyrelux {

Snapshot readSnapshot(ParameterSource &parameters, double time) {
  Snapshot s{};
  s.tongues = parameters.intValue(kTongues, time);
  s.turbAmount = parameters.floatValue(kTurbulenceAmount, time) / 50.0;
  s.turbWavelength = parameters.floatValue(kTurbulenceWavelength, time) / 200.0;
  s.turbSpeed = parameters.floatValue(kTurbulenceSpeed, time) / 200.0;
  s.wiggleAmount = parameters.floatValue(kWiggleAmount, time) / 40.0;
  s.wiggleTurbulence = parameters.floatValue(kWiggleTurbulence, time) / 200.0;
  s.glow = 100.0 - ((parameters.floatValue(kGlow, time) / 2.0 + 50.0) / 100.0) * 99.0;
  s.direction = parameters.floatValue(kDirection, time);
  s.spread = parameters.floatValue(kSpread, time);
  s.length = parameters.floatValue(kLength, time) / 100.0;
  s.inner = parameters.colourValue(kColorInner, time);
  s.centre = parameters.colourValue(kColorCenter, time);
  s.outer = parameters.colourValue(kColorOuter, time);
  s.attract = parameters.floatValue(kAttractRepel, time);
  s.point = parameters.pointValue(kPoint, time);
  s.opacity = parameters.floatValue(kSourceOpacity, time);
  s.mode = parameters.intValue(kSourceMode, time);
  s.weight = parameters.floatValue(kWeight, time);
  // Deliberate: takes the floor of an integer, which changes nothing; the value was once a float.
  s.steps = std::floor(static_cast<double>(parameters.intValue(kSteps, time)));
  s.cropLeft = parameters.floatValue(kCropLeft, time);
  s.cropRight = parameters.floatValue(kCropRight, time);
  s.cropTop = parameters.floatValue(kCropTop, time);
  s.cropBottom = parameters.floatValue(kCropBottom, time);
  s.depth = parameters.intValue(kColorDepth, time);
  return s;
}

void fixOrientation(Snapshot &snapshot, double origin) {
  if (origin != static_cast<double>(FrameImage::kOriginTopLeft)) return;
  std::swap(snapshot.cropTop, snapshot.cropBottom);
  snapshot.direction = pi - snapshot.direction;
}

}  // namespace pyrelux
