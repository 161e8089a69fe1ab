#include "FlameFftRectangles.h"

#include <algorithm>

namespace pyrelux::soft {

RectangleRows::RectangleRows(const std::vector<Rectangle> &rectangles, int width, int firstRow, int endRow)
    : rectangles_(rectangles), differences_(static_cast<std::size_t>(width) + 1), row_(firstRow) {
  for (std::size_t i = 0; i < rectangles.size(); ++i) {
    const Rectangle &rectangle = rectangles[i];
    if (rectangle.bottom <= firstRow && rectangle.top > firstRow) apply(rectangle, 1.0);
    const int index = static_cast<int>(i);
    if (rectangle.bottom > firstRow && rectangle.bottom < endRow) steps_.push_back({rectangle.bottom, index, true});
    if (rectangle.top > firstRow && rectangle.top < endRow) steps_.push_back({rectangle.top, index, false});
  }
  std::stable_sort(steps_.begin(), steps_.end(), [](const Step &a, const Step &b) { return a.row < b.row; });
}

void RectangleRows::apply(const Rectangle &rectangle, double sign) {
  differences_[static_cast<std::size_t>(rectangle.left)] += sign * rectangle.value;
  differences_[static_cast<std::size_t>(rectangle.right)] -= sign * rectangle.value;
}

void RectangleRows::addRow(float *sums) {
  for (; next_ < steps_.size() && steps_[next_].row == row_; ++next_)
    apply(rectangles_[static_cast<std::size_t>(steps_[next_].rectangle)], steps_[next_].begins ? 1.0 : -1.0);
  ++row_;
  // Double precision: the rounding error that a rectangle leaves behind is far below single precision.
  double sum = 0.0;
  for (std::size_t x = 0; x + 1 < differences_.size(); ++x) {
    sum += differences_[x];
    sums[x] += static_cast<float>(sum);
  }
}

}  // namespace pyrelux::soft
