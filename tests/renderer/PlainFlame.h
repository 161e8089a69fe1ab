#pragma once

#include <vector>

#include "FakeHost.h"
#include "FlameQuads.h"

namespace pyrelux::test {

/// The flame of one frame, computed tongue by tongue, copy by copy and corner by corner in the plain order of the
/// effect's definition, and keeping nothing between them. It shares no arithmetic with the renderer, so equal bits
/// prove that the renderer's shortcuts change no result.
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

/// Advances `phases` as the filter does.
PlainFlame plainFlame(const Snapshot &snapshot, const FrameGeometry &geometry, double time, Phases &phases);

}  // namespace pyrelux::test
