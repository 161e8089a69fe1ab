#pragma once

#include <string>

#include "FlameQuads.h"
#include "FrameRows.h"

namespace pyrelux::test {

/// Everything that decides one frame's tongues.
struct FlameInputs {
  Snapshot snapshot;
  FrameGeometry geometry;
  double time;
  Phases before;
  Phases after;
};

/// Compares the tongues of a frame, the arithmetic as well as the drawing calls, with the "tongues" of the file.
void expectTongues(const json &expected, const FlameInputs &inputs, const FrameRows &drawn, const std::string &where);

}  // namespace pyrelux::test
