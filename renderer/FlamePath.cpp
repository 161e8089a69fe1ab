#include "FlamePath.h"

#include <cmath>

#include "NumericHelpers.h"
#include "ParameterIds.h"

namespace pyrelux {

namespace {

static_assert(maximumSteps + 1 <= Tongue::capacity, "a tongue must hold the largest number of steps");

/// What a step contributes to every tongue alike, computed once per frame. The products are cut where the plain order
/// of evaluation lets them be cut, so the results are the same to the bit.
struct CommonSteps {
  double reach[Tongue::capacity];       ///< distance before turbulence
  double turbulence[Tongue::capacity];  ///< turbulence noise
};

void fillCommonSteps(const Snapshot &s, double turbulencePhase, Tongue &tongue, CommonSteps &common) {
  tongue.count = 0;
  tongue.weightSum = 0.0;
  for (double j = 0.0; j <= s.steps; j += 1.0) {
    const int entry = tongue.count;
    const double t = 1.0 - j / s.steps;
    const double weight = s.weight >= 0.0 ? t + (1.0 - s.weight / 100.0) * (1.0 - t) : (s.weight / 100.0) * t + 1.0;
    const double scale = t * s.attract / 100.0 + 1.0;
    tongue.stepPos[entry] = t;
    tongue.stepWeight[entry] = weight;
    tongue.weightSum = tongue.weightSum + weight;
    tongue.stepScaleX[entry] = scale;
    tongue.stepScaleY[entry] = scale;
    tongue.stepRotation[entry] = 0.0;
    common.reach[entry] = t * s.length * (1.0 - s.turbAmount / 4.0);
    common.turbulence[entry] = noise(t * (0.5 - s.turbWavelength) * 10.0 - turbulencePhase, 20.0, -3.0, 3.0);
    tongue.count = entry + 1;
  }
}

}  // namespace

void generateFlamePath(const Snapshot &s, double time, const PhaseAccumulators &phases,
                       const std::function<void(const Tongue &)> &drawTongue) {
  // Before tongue 0 moves oldFrame: the wiggle spans back to the last render that drew a tongue.
  phases.currentFrame_for_wiggleTurbulence =
      phases.currentFrame_for_wiggleTurbulence + (time - phases.oldFrame) * s.wiggleTurbulence;

  Tongue tongue;
  CommonSteps common;
  // One noise for all: the spread of every tongue swells and shrinks together.
  const double spreadNoise = noise(time / 50.0, 30.0, 0.5, 2.0);

  for (double i = 0.0; i < s.tongues; i += 1.0) {
    seedGenerator(static_cast<std::int32_t>(i));
    const double tongueTurbulence = rnd(0.2, 4.0);
    const double tongueSpeed = rnd(0.25, 1.0);
    const double tongueSpread = rnd(-s.spread, s.spread) * spreadNoise;

    if (i == 0.0) {
      // One phase, advanced at tongue 0's speed, for every tongue is meant; the others' speeds are drawn and not used.
      phases.currentFrame_for_turbulenceSpeed =
          phases.currentFrame_for_turbulenceSpeed + (time - phases.oldFrame) * tongueSpeed * s.turbSpeed;
      phases.oldFrame = time;
      fillCommonSteps(s, phases.currentFrame_for_turbulenceSpeed, tongue, common);
    }

    tongue.index = i;
    const double turbulence = s.turbAmount * tongueTurbulence;
    // That tongue 0 has no spread and always points along the direction is meant.
    const double spreads = i == 0.0 ? 0.0 : 1.0;
    for (int entry = 0; entry < tongue.count; ++entry) {
      const double t = tongue.stepPos[entry];
      // Negative where the turbulence is strong: that the copy then lies on the other side is meant.
      const double distance = common.reach[entry] * (1.0 + turbulence * common.turbulence[entry]);
      // Always t; kept as a draw is meant, so that every step takes one value of the generator.
      const double r = rnd(t, t);
      const double wiggle =
          noise(phases.currentFrame_for_wiggleTurbulence + (i * 300.0 - t * 20.0) * s.wiggleTurbulence, 10.0, -t, t);
      const double angle = s.direction + tongueSpread * r * spreads + wiggle * s.wiggleAmount;
      tongue.stepOffsetX[entry] = std::sin(angle) * distance;
      tongue.stepOffsetY[entry] = std::cos(angle) * distance;
    }
    drawTongue(tongue);
  }
}

}  // namespace pyrelux
