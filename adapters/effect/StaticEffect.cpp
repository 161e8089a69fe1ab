#include "StaticEffect.h"

#include "BackendChoice.h"
#include "ColorDepth.h"

namespace pyrelux::adapters {

StaticEffect::StaticEffect(const host::FilterInfo &filter) : filter_(filter), renderer_(host::chooseBackend("auto")) {
  filter_.parameters() = host::deepByDefault(filter_.parameters());
}

host::ParameterSet parametersOf(const host::FilterInfo &filter) {
  return host::deepByDefault(host::Filter(filter).parameters());
}

void StaticEffect::setParameters(const host::ParameterSet &parameters, const host::FilterTime &time) {
  filter_.edit(host::inFilterTime(parameters, time));
  time_ = time;
}

void StaticEffect::render(const std::uint8_t *input, std::uint8_t *output, int width, int height, std::int64_t frame,
                          double pixelAspect, Composition composition) {
  const double timeFrames = time_.at(frame);
  host::FrameSettings settings;
  settings.pixelAspect = pixelAspect;
  settings.floatOutput = host::isDeep(filter_.parameters(), timeFrames);
  canvas_.paint(input, output, width, height, composition, [&](const Image &picture, Image &fire) {
    filter_.restart();
    renderer_.render(filter_, picture, timeFrames, settings, fire);
  });
}

}  // namespace pyrelux::adapters
