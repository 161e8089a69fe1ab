#include "Effect.h"

#include <cstdio>
#include <new>

#include "BackendChoice.h"
#include "ColorDepth.h"
#include "HostError.h"

namespace pyrelux::adapters {

void Canvas::paint(const std::uint8_t *input, std::uint8_t *output, int width, int height, Composition composition,
                   const std::function<void(const Image &, Image &)> &draw) {
  if (width < 1 || height < 1)
    throw host::HostError("a picture of " + std::to_string(width) + "x" + std::to_string(height) +
                          " pixels can't be drawn");
  input_.reshape(width, height, Alpha::Premultiplied, false);
  premultiply(input, input_.asBytes().data(), input_.sampleCount() / 4);
  draw(input_, fire_);
  compose(fire_, composition == Composition::OverSource ? input : nullptr, output);
}

Effect::Effect(const host::FilterInfo &filter) : filter_(filter), renderer_(host::chooseBackend("auto")) {
  filter_.parameters() = host::deepByDefault(filter_.parameters());
}

host::ParameterSet parametersOf(const host::FilterInfo &filter) {
  return host::deepByDefault(host::Filter(filter).parameters());
}

void Effect::render(const std::uint8_t *input, std::uint8_t *output, int width, int height, double timeFrames,
                    double pixelAspect, Composition composition) {
  host::FrameSettings settings;
  settings.pixelAspect = pixelAspect;
  settings.floatOutput = host::isDeep(filter_.parameters(), timeFrames);
  canvas_.paint(input, output, width, height, composition, [&](const Image &picture, Image &fire) {
    filter_.restart();
    renderer_.render(filter_, picture, timeFrames, settings, fire);
  });
}

void complain(const char *message) noexcept { std::fprintf(stderr, "pyrelux: %s\n", message); }

const char *reasonOf(const std::exception &error) noexcept {
  return dynamic_cast<const std::bad_alloc *>(&error) ? "there is not enough memory" : error.what();
}

}  // namespace pyrelux::adapters
