#include "FrameRender.h"

#include <OpenGL/gl.h>

#include "EntryGuard.h"
#include "FlameQuads.h"
#include "OffscreenSurface.h"

namespace pyrelux {

std::int32_t renderCounter = 0;

namespace {

struct Corner {
  double x;
  double y;
};

constexpr Corner fromUpperRight[4] = {{1, 1}, {1, 0}, {0, 0}, {0, 1}};
constexpr Corner fromLowerRight[4] = {{1, 0}, {1, 1}, {0, 1}, {0, 0}};

/// Draws the bound texture, texels (0, 0) .. (textureW, textureH), over the whole output.
void drawOverOutput(const Corner (&corners)[4], double textureW, double textureH, const FrameGeometry &g) {
  glBegin(GL_QUADS);
  for (const Corner &c : corners) {
    glTexCoord2f(static_cast<float>(c.x * textureW), static_cast<float>(c.y * textureH));
    glVertex2f(static_cast<float>((c.x - 0.5) * g.outTexW), static_cast<float>((c.y - 0.5) * g.outTexH));
  }
  glEnd();
  glFlush();
}

void flamePass(const Snapshot &snapshot, const FrameGeometry &geometry, FrameImage &input, double time,
               const PhaseAccumulators &phases) {
  const ColourRamp ramp = makeFlameRamp(snapshot.inner, snapshot.centre, snapshot.outer);
  initOpenGl();
  clearToTransparent();
  glBlendFunc(GL_ONE, GL_ONE);
  input.bind();
  input.enable();
  const FlamePath path(snapshot, time, phases);
  const FlameQuads quads(snapshot, geometry, ramp, path.common());
  for (double i = 0.0; i < snapshot.tongues; i += 1.0) quads.draw(path.tongue(i));
  glFlush();
  input.disable();
}

void outputPass(const FrameGeometry &geometry) {
  initOpenGl();
  glColor4f(1.0f, 1.0f, 1.0f, 1.0f);
  glBlendFunc(GL_ONE, GL_ONE);
  // Deliberate: an upside-down output begins at another corner, which mirrors nothing.
  const bool topLeft = geometry.origin == static_cast<double>(FrameImage::kOriginTopLeft);
  drawOverOutput(topLeft ? fromLowerRight : fromUpperRight, geometry.outW, geometry.outH, geometry);
}

void sourcePass(const Snapshot &snapshot, const FrameGeometry &geometry, FrameImage &input) {
  initOpenGl();
  input.bind();
  input.enable();
  const float opacity = static_cast<float>(snapshot.opacity);
  glColor4f(opacity, opacity, opacity, opacity);
  glBlendFunc(GL_ONE, snapshot.mode == 0 ? GL_ONE_MINUS_SRC_ALPHA : GL_ONE);
  drawOverOutput(fromUpperRight, geometry.inW, geometry.inH, geometry);
  input.disable();
}

}  // namespace

bool renderFrame(ParameterSource &parameters, FrameImage &output, FrameImage &input, double time,
                 const PhaseAccumulators &phases) {
  ++renderCounter;
  const EntryGuard guard;
  if (!guard.entered()) return false;
  if (!parameters.open()) return false;

  Snapshot snapshot = readSnapshot(parameters, time);
  if (output.imageType() != FrameImage::kTexture) return false;
  const FrameGeometry geometry = readGeometry(output, input);
  fixOrientation(snapshot, geometry.origin);

  initOpenGl();
  clearToTransparent();

  beginSurface(geometry.outW, geometry.outH, snapshot.bitDepth());
  flamePass(snapshot, geometry, input, time, phases);
  endAndUseSurface();

  outputPass(geometry);
  if (snapshot.opacity > 0.0) sourcePass(snapshot, geometry, input);
  initOpenGl();
  return true;
}

}  // namespace pyrelux
