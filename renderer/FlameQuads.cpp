#include "FlameQuads.h"

#include <OpenGL/gl.h>

#include "NumericHelpers.h"

namespace pyrelux {

double FlameQuads::glowFactor() const {
  const double g = (snapshot_.glow + 9.5) * double{0.02820079f};
  return 1.0 / (g * g) + double{0.9f};
}

double FlameQuads::tongueAlpha() const {
  // Deliberate: the division is in single precision, the rest in double; copies without weight count as well.
  const double share = 1.0f / static_cast<float>(common_.count);
  return (share / snapshot_.tongues) * glowFactor() + 0.00390625;
}

FlameQuads::FlameQuads(const Snapshot &snapshot, const FrameGeometry &geometry, const ColourRamp &ramp,
                       const CommonSteps &common)
    : snapshot_(snapshot), geometry_(geometry), common_(common), alpha_(static_cast<float>(tongueAlpha())) {
  for (int i = 0; i < common.count; ++i) {
    if (common.stepWeight[i] <= 0.0) continue;
    const Colour colour = ramp.evaluate(common.stepPos[i]);
    const double intensity = common.stepWeight[i] / (((snapshot.glow * common.weightSum) / 100.0) * snapshot.tongues);
    tints_[i] = {static_cast<float>(intensity * colour.red), static_cast<float>(intensity * colour.green),
                 static_cast<float>(intensity * colour.blue)};
  }
}

void FlameQuads::draw(const Tongue &tongue) const {
  const Snapshot &s = snapshot_;
  const FrameGeometry &g = geometry_;
  const double left = 0.0 + s.cropLeft;
  const double right = 1.0 - s.cropRight;
  const double bottom = 0.0 + s.cropBottom;
  const double top = 1.0 - s.cropTop;
  const double cornerS[4] = {right, right, left, left};
  const double cornerT[4] = {top, bottom, bottom, top};

  glBegin(GL_QUADS);
  for (int i = 0; i < common_.count; ++i) {
    if (common_.stepWeight[i] <= 0.0) continue;
    const double ox = tongue.stepOffsetX[i];
    const double oy = tongue.stepOffsetY[i];
    // The crop cuts the same part off the quad and off the texture, so the rest keeps its place and size.
    const double x0 = (0.0 + ox) + s.cropLeft;
    const double x1 = (1.0 + ox) - s.cropRight;
    const double y0 = (0.0 + oy) + s.cropBottom;
    const double y1 = (1.0 + oy) - s.cropTop;
    const double cornerX[4] = {x1, x1, x0, x0};
    const double cornerY[4] = {y1, y0, y0, y1};

    glColor4f(tints_[i].red, tints_[i].green, tints_[i].blue, alpha_);
    for (int k = 0; k < 4; ++k) {
      double x = (cornerX[k] - s.point.x) * common_.stepScaleX[i] + s.point.x;
      double y = (cornerY[k] - s.point.y) * common_.stepScaleY[i] + s.point.y;
      // Deliberate: the point is rotated although the rotation is always 0.
      rotate2DPoint(&x, &y, common_.stepRotation[i], s.point.x, s.point.y, g.aspect);
      glTexCoord2f(static_cast<float>(cornerS[k] * g.inW), static_cast<float>(cornerT[k] * g.inH));
      glVertex2f(static_cast<float>(x * g.outW), static_cast<float>(y * g.outH));
    }
  }
  glEnd();
}

}  // namespace pyrelux
