#include <algorithm>
#include <array>
#include <cstring>

#include "Delivery.h"
#include "Effect.h"

namespace pyrelux::adapters {

namespace {

/// Pixels that are composed together.
constexpr std::size_t blockPixels = 16;

/// Red, green, blue and alpha of each, premultiplied, 0 .. 1 or more.
using Block = std::array<float, 4 * blockPixels>;

float unit(float sample) { return sample; }
float unit(std::uint8_t sample) { return static_cast<float>(sample) * (1.0f / 255.0f); }

/// The fire over a source with straight alpha. `samples` of them, four a pixel.
template <typename Sample>
void lay(const Sample *fire, const std::uint8_t *source, std::size_t samples, Block &laid) {
  for (std::size_t i = 0; i < samples; i += 4) {
    const float alpha = std::clamp(unit(fire[i + 3]), 0.0f, 1.0f);
    const float share = source ? unit(source[i + 3]) * (1.0f - alpha) : 0.0f;
    for (std::size_t channel = 0; channel < 3; ++channel)
      laid[i + channel] = unit(fire[i + channel]) + (source ? unit(source[i + channel]) * share : 0.0f);
    laid[i + 3] = alpha + share;
  }
}

template <typename Sample>
void composePicture(const Sample *fire, const std::uint8_t *source, std::uint8_t *output, int width, int height,
                    bool dithers) {
  constexpr Sample nothing[4 * blockPixels] = {};
  Block laid{};
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; x += static_cast<int>(blockPixels)) {
      const std::size_t at = 4 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + x);
      const std::size_t samples = 4 * std::min(blockPixels, static_cast<std::size_t>(width - x));
      const std::uint8_t *const under = source ? source + at : nullptr;
      // Most of a picture does not burn, and keeps its bytes.
      if (std::memcmp(fire + at, nothing, samples * sizeof(Sample)) == 0) {
        if (under)
          std::memmove(output + at, under, samples);
        else
          std::memset(output + at, 0, samples);
        continue;
      }
      std::array<std::uint8_t, 4 * blockPixels> kept{};
      if (under) std::memcpy(kept.data(), under, samples);
      lay(fire + at, under ? kept.data() : nullptr, samples, laid);
      deliverStraight(laid.data(), output + at, samples / 4, x, y, dithers);
      // So do single pixels that do not burn: under alpha 0 a program may keep something.
      for (std::size_t i = 0; under && i < samples; i += 4)
        if (std::memcmp(fire + at + i, nothing, 4 * sizeof(Sample)) == 0) std::memcpy(output + at + i, &kept[i], 4);
    }
}

}  // namespace

void compose(const Image &fire, const std::uint8_t *source, std::uint8_t *output) {
  if (fire.isFloat())
    composePicture(fire.asFloats().data(), source, output, fire.width(), fire.height(), true);
  else
    composePicture(fire.asBytes().data(), source, output, fire.width(), fire.height(), false);
}

}  // namespace pyrelux::adapters
