#pragma once

#include <vector>

#include "Pass.h"

namespace pyrelux::soft {

/// The sum of rectangles of one value each, row after row: what copies of a uniform plane add up to.
class RectangleRows {
 public:
  struct Rectangle {
    int left, right;  ///< of the pixels; one past the last
    int bottom, top;
    double value;
  };

  /// Begins at a row. Keeps a reference to the rectangles.
  RectangleRows(const std::vector<Rectangle> &rectangles, int width, int firstRow, int endRow);

  /// Adds the next row to `sums`.
  void addRow(float *sums);

 private:
  struct Step {
    int row;
    int rectangle;
    bool begins;
  };

  void apply(const Rectangle &rectangle, double sign);

  const std::vector<Rectangle> &rectangles_;
  std::vector<double> differences_;  ///< from each pixel of the row to the next
  std::vector<Step> steps_;          ///< where a rectangle begins or ends within the rows; ascending
  std::size_t next_ = 0;
  int row_;
};

}  // namespace pyrelux::soft
