#pragma once

#include <vector>

#include "FakeHost.h"
#include "FlameQuads.h"

namespace pyrelux::test {

/// The flame of one frame, worked out one tongue, one copy and one corner after the other in the plain order of the
/// effect's definition, with nothing kept from one to the next. It shares no arithmetic with the renderer, so the two
/// agree to the bit only when the renderer's shortcuts change no result.
struct PlainFlame {
  struct Copy {
    double stepPos, stepWeight, stepScale, stepOffsetX, stepOffsetY;
  };
  struct OneTongue {
    double weightSum;
    std::vector<Copy> copies;
  };
  std::vector<OneTongue> tongues;

  /// The arguments of every glColor4f, glTexCoord2f and glVertex2f, in order.
  std::vector<float> arguments;
};

/// `phases` moves on as the filter's do.
PlainFlame plainFlame(const Snapshot &snapshot, const FrameGeometry &geometry, double time, Phases &phases);

}  // namespace pyrelux::test
