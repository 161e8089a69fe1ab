#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Canvas.h"
#include "FrameRenderer.h"
#include "SequentialRenderer.h"

namespace pyrelux::adapters {

/// The filter for hosts that know all keyframes of a parameter. Frames may come in any order; each has the bits that a
/// run from frame 0 gives it, also with animated speeds. Thread: as StaticEffect.
class KeyframedEffect {
 public:
  /// Throws HostError when the bundle can't be used or nothing can draw.
  explicit KeyframedEffect(const host::FilterInfo &filter);
  ~KeyframedEffect();

  /// The filter's parameters at their defaults.
  const host::ParameterSet &defaults() const { return defaults_; }

  /// Sets all parameters, and when the filter draws the frames. Keyframes are at the frame numbers of render(). Every
  /// run starts again.
  void setParameters(const host::ParameterSet &parameters, const host::FilterTime &time = {});

  /// Draws frame number `frame`, 0 or more. Otherwise as StaticEffect::render().
  void render(const std::uint8_t *input, std::uint8_t *output, int width, int height, std::int64_t frame,
              double pixelAspect, Composition composition);

 private:
  struct Run;
  /// The run that reaches `frame` with the fewest frames to skip.
  Run &runFor(std::int64_t frame);

  host::FilterInfo filter_;
  host::FrameRenderer renderer_;
  host::ParameterSet defaults_;
  host::ParameterSet parameters_;  ///< by frame numbers
  host::FilterTime time_;
  std::vector<std::unique_ptr<Run>> runs_;  ///< ordered by last use
  Canvas canvas_;
};

}  // namespace pyrelux::adapters
