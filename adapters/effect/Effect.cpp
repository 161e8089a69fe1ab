#include "Effect.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

#include "Renderers.h"

namespace pyrelux::adapters {

namespace {

std::uint8_t toByte(float value) { return static_cast<std::uint8_t>(std::min(value, 255.0f) + 0.5f); }

}  // namespace

void Canvas::paint(const std::uint8_t *input, std::uint8_t *output, int width, int height, Composition composition,
                   const std::function<void(const Image &, Image &)> &draw) {
  input_.reshape(width, height, Alpha::Straight, false);
  std::memcpy(input_.asBytes().data(), input, input_.sampleCount());
  draw(input_, fire_);
  compose(fire_.asBytes().data(), composition == Composition::OverSource ? input : nullptr, output,
          static_cast<std::size_t>(width) * height);
}

Effect::Effect(const host::FilterInfo &filter) : filter_(filter), renderer_(host::chooseRenderer("auto")) {}

void Effect::render(const std::uint8_t *input, std::uint8_t *output, int width, int height, double timeFrames,
                    double pixelAspect, Composition composition) {
  host::FrameSettings settings;
  settings.pixelAspect = pixelAspect;
  canvas_.paint(input, output, width, height, composition, [&](const Image &picture, Image &fire) {
    filter_.restart();
    renderer_.render(filter_, picture, timeFrames, settings, fire);
  });
}

void compose(const std::uint8_t *fire, const std::uint8_t *source, std::uint8_t *output, std::size_t pixels) {
  constexpr std::uint8_t nothing[4] = {};
  for (std::size_t at = 0; at < 4 * pixels; at += 4) {
    const std::uint8_t *const over = fire + at;
    const std::uint8_t *const under = source ? source + at : nothing;
    // Most of a picture does not burn, and keeps its bytes.
    if ((over[0] | over[1] | over[2] | over[3]) == 0) {
      std::memmove(output + at, under, 4);
      continue;
    }
    const float underAlpha = under[3] * (255.0f - over[3]) / 255.0f;
    float colour[3];
    for (int channel = 0; channel < 3; ++channel)
      colour[channel] = over[channel] + under[channel] * underAlpha / 255.0f;
    const float brightest = std::max({colour[0], colour[1], colour[2]});
    const float alpha = std::min(std::max(over[3] + underAlpha, brightest), 255.0f);
    for (int channel = 0; channel < 3; ++channel) output[at + channel] = toByte(colour[channel] * 255.0f / alpha);
    output[at + 3] = toByte(alpha);
  }
}

void complain(const char *message) noexcept { std::fprintf(stderr, "pyrelux: %s\n", message); }

const char *reasonOf(const std::exception &error) noexcept {
  return dynamic_cast<const std::bad_alloc *>(&error) ? "there is not enough memory" : error.what();
}

}  // namespace pyrelux::adapters
