#pragma once

#include "ColourRamp.h"
#include "FlamePath.h"
#include "FrameGeometry.h"
#include "Snapshot.h"

namespace pyrelux {

/// Draws tongues as tinted copies of the bound input texture, one quad a copy, one primitive a tongue.
///
/// GL state: expects the surface current with a projection of (0, 0) .. (outW, outH), blending ONE, ONE, and the input
/// texture bound, enabled and addressed in texels; leaves only the current colour and texture coordinates changed.
/// Colour: the input is premultiplied; tints go to glColor4f unclamped.
class FlameQuads {
 public:
  /// Works out the tints, which all tongues share. Keeps the references.
  FlameQuads(const Snapshot &snapshot, const FrameGeometry &geometry, const ColourRamp &ramp,
             const CommonSteps &common);

  /// A tongue of the frame, in any order.
  void draw(const Tongue &tongue) const;

  /// 1.005 (Glow -100) to 12.3 (Glow 100): the alpha that all tongues of a frame sum to, but for 1/256 a quad.
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
  Tint tints_[CommonSteps::capacity];  ///< of the copies that have a weight
};

}  // namespace pyrelux
