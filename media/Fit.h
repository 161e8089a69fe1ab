#pragma once

#include "Image.h"

namespace pyrelux::media {

/// How a picture is brought to another size; shapes are those that a person sees, pixel aspects counted in.
enum class Fit {
  Cover,    ///< it keeps its shape and fills all, what is too much is cut off evenly
  Contain,  ///< it keeps its shape and all of it is there, with nothing at two sides
  Stretch,  ///< it fills all, and takes another shape
  None,     ///< its pixels stay as many as they are: what is too much is cut off, what is missing stays empty
  Shrink,   ///< None where it fits, else Contain
};

/// Of a picture: its size in pixels, and the width of a pixel / its height.
struct PictureShape {
  int width = 0;
  int height = 0;
  double pixelAspect = 1.0;

  bool operator==(const PictureShape &other) const {
    return width == other.width && height == other.height && pixelAspect == other.pixelAspect;
  }
};

/// The picture in the middle of one of another shape, premultiplied, transparent where it does not reach. Its own size
/// and pixel aspect are `picture`'s and `pixelAspect`. Scaled pictures come as floats (bicubic, by zimg, on
/// premultiplied samples); others keep their kind of samples.
Image fitted(const Image &picture, double pixelAspect, const PictureShape &target, Fit fit);

/// The picture in another size, premultiplied floats as above; a picture of that size as it is, premultiplied. Sides
/// are 1 at least.
Image resized(const Image &picture, int width, int height);

/// The picture on a transparent one of another size, its upper left corner at (left, top), which may be outside; what
/// is outside is cut off. It keeps its kind of alpha and samples.
Image placed(const Image &picture, int width, int height, int left, int top);

}  // namespace pyrelux::media
