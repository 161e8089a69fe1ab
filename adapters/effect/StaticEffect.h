#pragma once

#include <cstdint>

#include "Canvas.h"
#include "Filter.h"
#include "FilterTime.h"
#include "FrameRenderer.h"

namespace pyrelux::adapters {

/// The filter for hosts that know a parameter's current value but no keyframes, and that render frames in any order. A
/// filter object that has drawn no frame draws each frame, so a frame depends only on its time and the parameters: the
/// phases are the speeds times the time. Thread: render() and setParameters() from one thread at a time for each
/// object. Different objects are independent but take turns, because the filter draws for one host at a time.
class StaticEffect {
 public:
  /// Throws HostError when the bundle can't be used or nothing can draw.
  explicit StaticEffect(const host::FilterInfo &filter);

  /// Sets all parameters, and when the filter draws the frames. Keyframes are at the frame numbers of render().
  void setParameters(const host::ParameterSet &parameters, const host::FilterTime &time);

  /// Draws frame number `frame`; `input` and `output` are those of Canvas::paint(). `pixelAspect` is the width of a
  /// pixel divided by its height. Throws HostError; then `output` stays as it was.
  void render(const std::uint8_t *input, std::uint8_t *output, int width, int height, std::int64_t frame,
              double pixelAspect, Composition composition);

 private:
  host::Filter filter_;
  host::FrameRenderer renderer_;
  host::FilterTime time_;
  Canvas canvas_;
};

/// The filter's parameters as adapters show them: the Color Depth's default is 16 Bit. Throws HostError.
host::ParameterSet parametersOf(const host::FilterInfo &filter);

}  // namespace pyrelux::adapters
