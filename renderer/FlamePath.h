#pragma once

#include <functional>

#include "Snapshot.h"

namespace pyrelux {

/// The only state that one frame leaves for the next: the speeds integrated over the frame time, so that animating a
/// speed never makes the fire jump. The doubles are the filter object's own.
struct PhaseAccumulators {
  double &oldFrame;                           ///< frame time of the last render that generated tongue 0
  double &currentFrame_for_turbulenceSpeed;   ///< turbulence phase
  double &currentFrame_for_wiggleTurbulence;  ///< wiggle phase
};

/// One tongue: copies of the input along a path, entry 0 drawn first, at the far end; the last one on the source.
struct Tongue {
  /// More than steps + 1 can be: nothing checks the bound while the arrays are filled.
  static constexpr int capacity = 320;

  double index;      ///< 0, 1, 2, …
  int count;         ///< entries filled: steps + 1
  double weightSum;  ///< sum of stepWeight

  double stepPos[capacity];     ///< 1 at the far end .. 0 on the source
  double stepWeight[capacity];  ///< share of the tongue's brightness
  double stepScaleX[capacity];  ///< about the attract/repel point
  double stepScaleY[capacity];
  double stepOffsetX[capacity];   ///< in units of the image's width
  double stepOffsetY[capacity];   ///< in units of the image's height
  double stepRotation[capacity];  ///< degrees; always 0
};

/// Advances the phases to the frame time and hands every tongue of the frame, in order, to `drawTongue`. The tongue is
/// valid during the call. stepPos, stepWeight, the scales and stepRotation are the same for every tongue of a frame.
void generateFlamePath(const Snapshot &snapshot, double timeFrames, const PhaseAccumulators &phases,
                       const std::function<void(const Tongue &)> &drawTongue);

}  // namespace pyrelux
