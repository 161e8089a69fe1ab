#include "FrameGeometry.h"

#include <cmath>

namespace pyrelux {

FrameGeometry readGeometry(FrameImage &output, FrameImage &input) {
  FrameGeometry g{};
  g.inW = static_cast<double>(input.width());
  g.inH = static_cast<double>(input.height());
  g.outW = static_cast<double>(output.width());
  g.outH = static_cast<double>(output.height());
  const TextureEdges in = input.textureEdges();
  g.inTexW = std::abs(in.right - in.left);
  g.inTexH = std::abs(in.top - in.bottom);
  const TextureEdges out = output.textureEdges();
  g.outTexW = std::abs(out.right - out.left);
  g.outTexH = std::abs(out.top - out.bottom);
  g.origin = static_cast<double>(output.origin());
  g.aspect = (g.outW / g.outH) * input.pixelAspect();
  return g;
}

}  // namespace pyrelux
