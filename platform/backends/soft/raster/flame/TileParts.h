#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "Kernels.h"
#include "TexturePlanes.h"

namespace pyrelux::soft {

/// The pixels that are added up together: strips side by side, each of some parts.
constexpr int tileWidth = 128;
constexpr int tileHeight = stripHeight;

/// Tells in which parts of a tile a copy at its own size may have anything, for every place of the texture. Looking
/// that up is what a frame of many copies does most often, so all answers are prepared.
class TileParts {
 public:
  explicit TileParts(const Occupancy &occupancy);

  /// For a tile whose first pixel samples texel (x, y), which may lie anywhere: for each strip eight bits, one for each
  /// of its parts, the first strip's lowest.
  std::uint32_t at(int x, int y) const {
    if (table_.empty()) return ~0u;  // nothing is empty
    const int column = std::clamp(x >> cellShift, -marginX, columns_ - 1) + marginX;
    const int row = std::clamp(y >> cellShift, -marginY, rows_ - 1) + marginY;
    return table_[static_cast<std::size_t>(row * stride_ + column)];
  }

 private:
  static constexpr int cellShift = 3;
  static_assert(Occupancy::cellWidth == 1 << cellShift && Occupancy::cellHeight == 1 << cellShift);
  /// Beyond so many cells, a tile reads nothing but the texture's edge. The first part of a tile reads three columns
  /// and two rows of cells, because it need not begin with a cell, and reads a texel more than it has pixels.
  static constexpr int marginX = tileWidth / Occupancy::cellWidth + 1;
  static constexpr int marginY = tileHeight / Occupancy::cellHeight + 1;

  int columns_;
  int rows_;
  int stride_;
  std::vector<std::uint32_t> table_;
};

}  // namespace pyrelux::soft
