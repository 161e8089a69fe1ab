#pragma once

#include <vector>

#include "Image.h"
#include "Snapshot.h"

namespace pyrelux::testing {

/// A frame worked out pixel by pixel from what it is defined as, without OpenGL. Rows from the top, red, green, blue,
/// alpha.
struct FormulaFrame {
  int width = 0;
  int height = 0;
  /// The exact sums, 1.0 being full; may exceed it.
  std::vector<double> exact;
  /// What 8-bit images may hold, in levels 0 .. 255: every copy is rounded as it is added, and one that lies nearer to
  /// a half level than a renderer filters texels may be rounded either way.
  std::vector<double> lowest;
  std::vector<double> highest;
  std::vector<int> copies;     ///< per pixel: how many copies cover it
  std::vector<bool> atAnEdge;  ///< per pixel: its centre lies so near a copy's edge that either side is right
};

/// `input` is premultiplied; the snapshot is as read, before the orientation fix; `topLeft` is the images' origin.
FormulaFrame flameByFormula(const Image &input, Snapshot snapshot, double timeFrames, bool topLeft);

}  // namespace pyrelux::testing
