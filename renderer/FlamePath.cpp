#include "FlamePath.h"

#include <cmath>

#include "NoiseSets.h"
#include "NumericHelpers.h"
#include "ParameterIds.h"

namespace pyrelux {

namespace {

static_assert(maximumSteps + 1 <= CommonSteps::capacity, "a tongue must hold the largest number of steps");

/// Computes here, once for all tongues, the factors that do not depend on the tongue. Each factor is a prefix of the
/// whole product in evaluation order, so the results keep every bit.
void fill(CommonSteps &common, const Snapshot &s, double turbulencePhase) {
  for (double j = 0.0; j <= s.steps; j += 1.0) {
    const int entry = common.count;
    const double t = 1.0 - j / s.steps;
    const double weight = s.weight >= 0.0 ? t + (1.0 - s.weight / 100.0) * (1.0 - t) : (s.weight / 100.0) * t + 1.0;
    const double scale = t * s.attract / 100.0 + 1.0;
    common.stepPos[entry] = t;
    common.stepWeight[entry] = weight;
    common.weightSum = common.weightSum + weight;
    common.stepScaleX[entry] = scale;
    common.stepScaleY[entry] = scale;
    common.stepRotation[entry] = 0.0;
    common.reach[entry] = t * s.length * (1.0 - s.turbAmount / 4.0);
    common.turbulence[entry] = t * (0.5 - s.turbWavelength) * 10.0 - turbulencePhase;
    common.count = entry + 1;
  }
  noiseSet().sums(common.turbulence, common.count, 20.0, common.turbulence);
  for (int entry = 0; entry < common.count; ++entry)
    common.turbulence[entry] = noiseFrom(common.turbulence[entry], -3.0, 3.0);
}

}  // namespace

FlamePath::FlamePath(const Snapshot &snapshot, double time, const PhaseAccumulators &phases)
    : s_(snapshot), spreadNoise_(noise(time / 50.0, 30.0, 0.5, 2.0)) {
  const double elapsed = time - phases.oldFrame;
  phases.currentFrame_for_wiggleTurbulence = phases.currentFrame_for_wiggleTurbulence + elapsed * s_.wiggleTurbulence;
  if (s_.tongues > 0.0) {
    // Deliberate: one phase, at tongue 0's speed, serves every tongue. Without tongues neither it nor oldFrame changes.
    phases.currentFrame_for_turbulenceSpeed =
        phases.currentFrame_for_turbulenceSpeed + elapsed * drawn(0.0).tongueSpeed * s_.turbSpeed;
    phases.oldFrame = time;
  }
  wigglePhase_ = phases.currentFrame_for_wiggleTurbulence;
  fill(common_, s_, phases.currentFrame_for_turbulenceSpeed);
}

/// Seeds the generator with the tongue's index and draws the tongue's three values; one draw for each step follows.
Tongue FlamePath::drawn(double index) const {
  Tongue tongue;
  seedGenerator(static_cast<std::int32_t>(index));
  tongue.index = index;
  tongue.tongueTurbulence = rnd(0.2, 4.0);
  tongue.tongueSpeed = rnd(0.25, 1.0);
  // One noise value serves all tongues, so their spreads swell and shrink together.
  tongue.tongueSpread = rnd(-s_.spread, s_.spread) * spreadNoise_;
  return tongue;
}

Tongue FlamePath::tongue(double index) const {
  Tongue tongue = drawn(index);
  const double turbulence = s_.turbAmount * tongue.tongueTurbulence;
  // Deliberate: tongue 0 has no spread and always points along the direction.
  const double spreads = index == 0.0 ? 0.0 : 1.0;
  const NoiseSet &set = noiseSet();
  double wiggle[CommonSteps::capacity];
  for (int entry = 0; entry < common_.count; ++entry)
    wiggle[entry] = wigglePhase_ + (index * 300.0 - common_.stepPos[entry] * 20.0) * s_.wiggleTurbulence;
  set.sums(wiggle, common_.count, 10.0, wiggle);

  double angle[CommonSteps::capacity];
  for (int entry = 0; entry < common_.count; ++entry) {
    const double t = common_.stepPos[entry];
    // Deliberate: always t; called only to consume one random value per step.
    const double r = rnd(t, t);
    angle[entry] = s_.direction + tongue.tongueSpread * r * spreads + noiseFrom(wiggle[entry], -t, t) * s_.wiggleAmount;
  }
  set.sines(angle, common_.count, tongue.stepOffsetX);
  set.cosines(angle, common_.count, tongue.stepOffsetY);

  for (int entry = 0; entry < common_.count; ++entry) {
    // Deliberate: strong turbulence makes the distance negative; the copy then lies on the opposite side.
    const double distance = common_.reach[entry] * (1.0 + turbulence * common_.turbulence[entry]);
    tongue.stepOffsetX[entry] = tongue.stepOffsetX[entry] * distance;
    tongue.stepOffsetY[entry] = tongue.stepOffsetY[entry] * distance;
  }
  return tongue;
}

}  // namespace pyrelux
