#pragma once

#include "Image.h"

// What is laid together after the fire is drawn. Pictures are premultiplied and of the same size; results have float
// samples, which are not rounded.

namespace pyrelux {

/// How a source lies on its fire.
enum class SourceMode {
  Cover,  ///< over it
  Mix,    ///< added to it
};

/// The source on its fire: fire * weight, with source * opacity over it or added to it.
Image sourceOnFire(const Image &fire, float weight, const Image &source, float opacity, SourceMode mode);

/// (1 - share) * from + share * to.
Image dissolve(const Image &from, const Image &to, float share);

/// The picture's shape in white: every channel is its alpha.
Image shapeOf(const Image &picture);

/// Whether all of its alpha is full.
bool isOpaque(const Image &picture);

/// What of a picture is not transparent, in pixels from the upper left; right and bottom are behind it.
struct PixelBox {
  int left = 0, top = 0, right = 0, bottom = 0;
  bool isEmpty() const { return right <= left || bottom <= top; }
  int width() const { return right - left; }
  int height() const { return bottom - top; }
};

PixelBox alphaBox(const Image &picture);

/// The smallest box around both.
PixelBox around(const PixelBox &a, const PixelBox &b);

}  // namespace pyrelux
