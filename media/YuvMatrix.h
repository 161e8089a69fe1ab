#pragma once

#include "Handles.h"
#include "Image.h"

namespace pyrelux::media {

/// Between luma with two colour differences and red, green, blue. Done here in float, because the scaler's fixed point
/// leaves an error of a whole 8-bit level in deep pictures.
class YuvMatrix {
 public:
  /// By a frame's colour tags. Without any, the custom of its size decides: BT.601 below 720 lines, else BT.709.
  explicit YuvMatrix(const AVFrame &frame);

  /// Replaces Y, Cb, Cr in an image's first channels by red, green, blue. The samples are code values as fractions of
  /// the largest one of `depth` bits.
  void toRgb(Image &image, int depth) const;

  /// The reverse. Red, green and blue are clipped to 0 .. 1; NaN becomes 0.
  void fromRgb(Image &image, int depth) const;

 private:
  float redWeight_;
  float blueWeight_;
  // Code values in units of 8 bits.
  float black_;
  float lumaReach_;
  float chromaReach_;
};

}  // namespace pyrelux::media
