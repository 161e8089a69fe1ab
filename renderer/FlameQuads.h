#pragma once

#include "ColourRamp.h"
#include "FlamePath.h"
#include "Snapshot.h"

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

/// Draws tongues as tinted copies of the bound input texture, one quad a copy, one primitive a tongue.
///
/// GL state: expects the surface current with a projection of (0, 0) .. (outW, outH), blending ONE, ONE, and the input
/// texture bound, enabled and addressed in texels; leaves only the current colour and texture coordinates changed.
/// Colour: the input is premultiplied; tints go to glColor4f unclamped.
class FlameQuads {
 public:
  FlameQuads(const Snapshot &snapshot, const FrameGeometry &geometry, const ColourRamp &ramp)
      : snapshot_(snapshot), geometry_(geometry), ramp_(ramp) {}

  /// The frame's tongues, in order from tongue 0.
  void draw(const Tongue &tongue);

  /// 1.005 (Glow -100) to 12.3 (Glow 100): the alpha that all tongues of a frame sum to, but for 1/256 a quad.
  double glowFactor() const;

  /// The alpha of every quad of a tongue with `count` entries.
  double tongueAlpha(int count) const;

 private:
  struct Tint {
    float red;
    float green;
    float blue;
  };

  void prepareTints(const Tongue &tongue);

  const Snapshot &snapshot_;
  const FrameGeometry &geometry_;
  const ColourRamp &ramp_;
  float alpha_ = 0.0f;
  Tint tints_[Tongue::capacity];
};

}  // namespace pyrelux
