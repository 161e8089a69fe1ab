#pragma once

#include <optional>
#include <string>

#include "AvPtr.h"
#include "ColourSpace.h"
#include "Image.h"

namespace pyrelux::media {

/// Between luma with two colour differences and red, green, blue. Done here in float, because the scaler's fixed point
/// leaves an error of a whole 8-bit level in deep pictures. Matrices without two weights for luma are left to zimg,
/// which has no camera's curve for the constant luminance of BT.2020; that is calculated here, too.
class YuvMatrix {
 public:
  /// By a frame's colour tags. Without any, the custom of its size decides: BT.601 below 720 lines, else BT.709.
  explicit YuvMatrix(const AVFrame &frame);

  /// Replaces Y, Cb, Cr in an image's first channels by red, green, blue. The samples are code values as fractions of
  /// the largest one of `depth` bits. Throws MediaError, naming `path`, for colours that are not known.
  void toRgb(Image &image, int depth, const std::string &path) const;

  /// The reverse, for a row of `width` pixels. Red, green and blue are clipped to 0 .. 1; NaN becomes 0.
  void fromRgb(float *row, int width, int depth) const;

 private:
  void constantLuminanceToRgb(Image &image, float toLevels) const;

  std::optional<ColourSpace> special_;  // one that two weights do not describe
  float redWeight_;
  float blueWeight_;
  // Code values in units of 8 bits.
  float black_;
  float lumaReach_;
  float chromaReach_;
};

}  // namespace pyrelux::media
