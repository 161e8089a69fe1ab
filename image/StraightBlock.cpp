#include "StraightBlock.h"

#include <algorithm>
#include <cstring>

#include "Dither.h"
#include "VectorClones.h"

namespace pyrelux {

PYRELUX_VECTOR_CLONES
OfBlock<std::uint32_t> deliverStraight(const PixelBlock &premultiplied, int x, int y, bool dithers) {
  OfBlock<float> threshold;
  for (std::size_t i = 0; i < blockPixels; i += 4) {
    const FourFloats four = dithers ? ditherThresholds(x + static_cast<int>(i), y) : allOf(0.5f);
    std::memcpy(&threshold[i], &four, sizeof four);
  }
  OfBlock<std::uint32_t> stored;
  for (std::size_t i = 0; i < blockPixels; ++i) {
    const float red = std::max(premultiplied[0][i], 0.0f);
    const float green = std::max(premultiplied[1][i], 0.0f);
    const float blue = std::max(premultiplied[2][i], 0.0f);
    const float brightest = std::max(std::max(red, green), std::max(blue, std::max(premultiplied[3][i], 0.0f)));
    const auto level = static_cast<std::int32_t>(std::min(brightest, 1.0f) * 255.0f + threshold[i]);
    // An alpha that rounds to 0 makes colour 0 as well.
    const float scale = (level > 0 ? 255.0f * 255.0f : 0.0f) / static_cast<float>(std::max(level, 1));
    const auto colour = [scale, rounding = threshold[i]](float value) {
      return static_cast<std::uint32_t>(static_cast<std::int32_t>(std::min(value * scale, 255.0f) + rounding));
    };
    stored[i] = colour(red) | colour(green) << 8 | colour(blue) << 16 | static_cast<std::uint32_t>(level) << 24;
  }
  return stored;
}

}  // namespace pyrelux
