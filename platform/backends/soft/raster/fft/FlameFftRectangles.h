#pragma once

#include <vector>

#include "Pass.h"

namespace pyrelux::soft {

/// The sum of rectangles, each of one value, row by row: the sum of copies of a uniform plane.
class RectangleRows {
 public:
  struct Rectangle {
    int left, right;  ///< first pixel, and one past the last
    int bottom, top;
    double value;
  };

  /// Begins at firstRow. Keeps a reference to the rectangles.
  RectangleRows(const std::vector<Rectangle> &rectangles, int width, int firstRow, int endRow);

  /// Adds the next row, `width` pixels, to `sums`.
  void addRow(float *sums);

 private:
  struct Step {
    int row;
    int rectangle;
    bool begins;
  };

  void apply(const Rectangle &rectangle, double sign);

  const std::vector<Rectangle> &rectangles_;
  std::vector<double> differences_;  ///< between each pixel of the row and the one before
  std::vector<Step> steps_;          ///< the rows where rectangles begin or end; ascending
  std::size_t next_ = 0;
  int row_;
};

}  // namespace pyrelux::soft
