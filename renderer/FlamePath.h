#pragma once

#include "Snapshot.h"

namespace pyrelux {

/// The only state that one frame leaves for the next: the speeds integrated over the frame time, so that animating a
/// speed never makes the fire jump. The doubles are the filter object's own.
struct PhaseAccumulators {
  double &oldFrame;                           ///< frame time of the last render that generated tongue 0
  double &currentFrame_for_turbulenceSpeed;   ///< turbulence phase
  double &currentFrame_for_wiggleTurbulence;  ///< wiggle phase
};

/// What all tongues of a frame share: copies of the input along a path, entry 0 drawn first, at the far end; the last
/// one on the source.
struct CommonSteps {
  /// More than steps + 1 can be: nothing checks the bound while the arrays are filled.
  static constexpr int capacity = 320;

  int count = 0;           ///< entries filled: steps + 1
  double weightSum = 0.0;  ///< sum of stepWeight

  double stepPos[capacity];     ///< 1 at the far end .. 0 on the source
  double stepWeight[capacity];  ///< share of the tongue's brightness
  double stepScaleX[capacity];  ///< about the attract/repel point
  double stepScaleY[capacity];
  double stepRotation[capacity];  ///< degrees; always 0

  double reach[capacity];       ///< distance before turbulence, in units of the image's height
  double turbulence[capacity];  ///< turbulence noise
};

/// What one tongue has of its own.
struct Tongue {
  double index;             ///< 0, 1, 2, …
  double tongueTurbulence;  ///< strength of the turbulence
  double tongueSpeed;       ///< only tongue 0's is used, by the turbulence phase
  double tongueSpread;      ///< angle from the direction at the far end; tongue 0 does not use it

  double stepOffsetX[CommonSteps::capacity];  ///< in units of the image's width
  double stepOffsetY[CommonSteps::capacity];  ///< in units of the image's height
};

/// Where every copy of a frame goes.
class FlamePath {
 public:
  /// Advances the phases to the frame time and fills in what all tongues share.
  FlamePath(const Snapshot &snapshot, double timeFrames, const PhaseAccumulators &phases);

  const CommonSteps &common() const { return common_; }

  /// Tongue number `index`, in any order: it depends on no other.
  Tongue tongue(double index) const;

 private:
  Tongue drawn(double index) const;

  const Snapshot &s_;
  double spreadNoise_;
  double wigglePhase_;
  CommonSteps common_;
};

}  // namespace pyrelux
