#pragma once

#include <string>

#include "Image.h"
#include "RenderListener.h"

namespace pyrelux::job {

/// Pictures of one size on a dark ground, in rows, a label below each.
class SheetImage {
 public:
  /// Pictures of `cellWidth` x `cellHeight` pixels. Labels have up to `labelLines` lines. Throws ValueError when the
  /// sheet would be larger than a picture can be.
  SheetImage(int columns, int rows, int cellWidth, int cellHeight, int labelLines);

  /// Puts a picture into a place, counted from the upper left. `picture` is premultiplied, of floats, of the cells'
  /// size; it goes over black, as flames do in films. Throws ValueError for a label that doesn't fit below it.
  void put(int column, int row, const Image &picture, const std::string &label, RenderListener &listener);

  /// Opaque, of floats.
  const Image &image() const { return image_; }

 private:
  void lay(const Image &picture, int left, int top);  // premultiplied, of floats

  int cellWidth_;
  int cellHeight_;
  int labelHeight_;
  Image image_;
};

}  // namespace pyrelux::job
