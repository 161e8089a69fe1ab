#pragma once

#include "AvPtr.h"
#include "Image.h"

namespace pyrelux::media {

/// How stored pixels lie in the upright picture: rows and columns change places first, then sides do.
struct Orientation {
  bool isTransposed = false;
  bool isMirrored = false;    ///< left and right change places
  bool isUpsideDown = false;  ///< top and bottom change places
};

/// What the frame's display matrix asks for. A matrix that turns by anything but quarter turns counts as the nearest of
/// them; none, or one of zeros, leaves the picture as it is.
Orientation orientationOf(const AVFrame &frame);

/// The upright picture.
Image upright(Image stored, const Orientation &orientation);

}  // namespace pyrelux::media
