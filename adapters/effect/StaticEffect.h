#pragma once

#include <cstdint>

#include "Canvas.h"
#include "Filter.h"
#include "FrameRenderer.h"

namespace pyrelux::adapters {

/// The filter for hosts that know a parameter's current value but no keyframes, and that render frames in any order. A
/// filter object that has drawn no frame draws each frame, so a frame depends only on its time and the parameters: the
/// phases are the speeds times the time. Thread: render() and edit() from one thread at a time for each object.
/// Different objects are independent but take turns, because the filter draws for one host at a time.
class StaticEffect {
 public:
  /// Throws HostError when the bundle can't be used or nothing can draw.
  explicit StaticEffect(const host::FilterInfo &filter);

  const host::ParameterSet &parameters() const { return filter_.parameters(); }

  /// Sets a parameter to a constant. Throws HostError for a value that the parameter can't have.
  void edit(const host::ParameterDeclaration &parameter, const host::ParameterValue &value) {
    filter_.edit(parameter, value);
  }

  /// Draws a frame; `input` and `output` are those of Canvas::paint(). `timeFrames` is in frames; `pixelAspect` is the
  /// width of a pixel divided by its height. Throws HostError; then `output` stays as it was.
  void render(const std::uint8_t *input, std::uint8_t *output, int width, int height, double timeFrames,
              double pixelAspect, Composition composition);

 private:
  host::Filter filter_;
  host::FrameRenderer renderer_;
  Canvas canvas_;
};

/// The filter's parameters as adapters show them: the Color Depth's default is 16 Bit. Throws HostError.
host::ParameterSet parametersOf(const host::FilterInfo &filter);

}  // namespace pyrelux::adapters
