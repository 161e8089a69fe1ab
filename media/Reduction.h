#pragma once

#include "Image.h"

namespace pyrelux::media {

/// The picture in another size, at least one pixel on a side, each pixel the mean of the area that it covers. `picture`
/// has bytes and premultiplied alpha; so has the result.
Image reduced(const Image &picture, int width, int height);

}  // namespace pyrelux::media
