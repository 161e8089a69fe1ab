#pragma once

#include "HostInterfaces.h"

namespace pyrelux {

/// Sizes of one frame.
struct FrameGeometry {
  double inW;  ///< width and height of the input, in pixels
  double inH;
  double outW;  ///< width and height of the output, in pixels
  double outH;
  double inTexW;  ///< extent of the input's texture coordinates. Deliberate: read, although no pass uses it
  double inTexH;
  double outTexW;  ///< extent of the output's texture coordinates
  double outTexH;
  double origin;  ///< of the output: FrameImage::kOriginTopLeft, or any other value for the lower left
  double aspect;  ///< (outW / outH) * the input's pixel aspect
};

/// Reads the sizes from the images, the input's pixel aspect last.
FrameGeometry readGeometry(FrameImage &output, FrameImage &input);

}  // namespace pyrelux
