#pragma once

#include "ColourRamp.h"
#include "FlamePath.h"
#include "FrameGeometry.h"
#include "Snapshot.h"

namespace pyrelux {

/// Draws tongues as tinted copies of the bound input texture: one quad for each copy, one primitive for each tongue.
///
/// GL state: expects the surface current with a projection of (0, 0) .. (outW, outH), blending ONE, ONE, and the input
/// texture bound, enabled and addressed in texels. Changes only the current colour and texture coordinates.
/// Colour: the input is premultiplied; glColor4f gets unclamped tints.
class FlameQuads {
 public:
  /// Computes the tints, which all tongues share. Keeps the references to the snapshot, the geometry and the steps.
  FlameQuads(const Snapshot &snapshot, const FrameGeometry &geometry, const ColourRamp &ramp,
             const CommonSteps &common);

  /// Draws a tongue of the frame. The order of tongues does not matter.
  void draw(const Tongue &tongue) const;

  /// The sum of all quads' alphas, without the 1/256 that each quad adds: 1.005 (Glow -100) .. 12.3 (Glow 100).
  double glowFactor() const;

  /// The alpha of every quad.
  double tongueAlpha() const;

 private:
  struct Tint {
    float red;
    float green;
    float blue;
  };

  const Snapshot &snapshot_;
  const FrameGeometry &geometry_;
  const CommonSteps &common_;
  float alpha_;
  Tint tints_[CommonSteps::capacity];  ///< set only for copies whose weight is above 0
};

}  // namespace pyrelux
