#pragma once

#include "HostInterfaces.h"

namespace pyrelux {

/// Sizes of one frame, in pixels and texels.
struct FrameGeometry {
  double inW;
  double inH;
  double outW;
  double outH;
  double inTexW;  ///< extent of the input's texture coordinates; read, and used by no pass
  double inTexH;
  double outTexW;  ///< extent of the output's texture coordinates
  double outTexH;
  double origin;
  double aspect;  ///< (outW / outH) * the input's pixel aspect
};

/// Asks the images for their geometry.
FrameGeometry readGeometry(FrameImage &output, FrameImage &input);

}  // namespace pyrelux
