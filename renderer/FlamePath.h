#pragma once

#include "Snapshot.h"

namespace pyrelux {

/// The only state that one frame leaves for the next: the speeds integrated over the frame time. Thus an animated speed
/// never makes the fire jump. The filter object owns the doubles.
struct PhaseAccumulators {
  double &oldFrame;                           ///< time, in frames, of the last render that drew a tongue
  double &currentFrame_for_turbulenceSpeed;   ///< turbulence phase, in frames times speed
  double &currentFrame_for_wiggleTurbulence;  ///< wiggle phase, in frames times speed
};

/// What all tongues of a frame share. A tongue is a row of copies of the input along a path: entry 0, at the far end,
/// is drawn first; the last entry lies on the source.
struct CommonSteps {
  /// Larger than the largest steps + 1, because nothing checks the bound while the arrays are filled.
  static constexpr int capacity = 320;

  int count = 0;           ///< entries in use: steps + 1
  double weightSum = 0.0;  ///< sum of stepWeight over these entries

  double stepPos[capacity];     ///< position along the tongue: 1 at the far end .. 0 on the source
  double stepWeight[capacity];  ///< brightness relative to the other entries
  double stepScaleX[capacity];  ///< scale about the attract/repel point; 1 is the input's own size
  double stepScaleY[capacity];
  double stepRotation[capacity];  ///< degrees; always 0

  double reach[capacity];       ///< distance from the source before turbulence, in units of the image's height
  double turbulence[capacity];  ///< turbulence noise, about -3 .. 3
};

/// What differs from tongue to tongue.
struct Tongue {
  double index;             ///< 0, 1, 2, …
  double tongueTurbulence;  ///< strength of the turbulence
  double tongueSpeed;       ///< speed of the turbulence phase; only tongue 0's is used
  double tongueSpread;      ///< angle from the direction at the far end, in radians; tongue 0 does not use it

  double stepOffsetX[CommonSteps::capacity];  ///< in units of the image's width
  double stepOffsetY[CommonSteps::capacity];  ///< in units of the image's height
};

/// The place of every copy of a frame. Thread: any; seeds the calling thread's random generator.
class FlamePath {
 public:
  /// Advances the phases to `timeFrames` and computes what all tongues share. Keeps a reference to the snapshot.
  FlamePath(const Snapshot &snapshot, double timeFrames, const PhaseAccumulators &phases);

  const CommonSteps &common() const { return common_; }

  /// Tongue number `index`. A tongue depends on no other, so the order of the calls does not matter.
  Tongue tongue(double index) const;

 private:
  Tongue drawn(double index) const;

  const Snapshot &s_;
  double spreadNoise_;
  double wigglePhase_;
  CommonSteps common_;
};

}  // namespace pyrelux
