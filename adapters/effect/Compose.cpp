#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "Canvas.h"
#include "StraightBlock.h"

namespace pyrelux::adapters {

namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "red is taken for the lowest byte");

/// A channel (0 is red) of a pixel in a block, 0 .. 1 or more.
float channelOf(const OfBlock<std::uint32_t> &pixels, std::size_t i, std::size_t channel) {
  return static_cast<float>(static_cast<std::int32_t>((pixels[i] >> (8 * channel)) & 255)) * (1.0f / 255.0f);
}
float channelOf(const std::array<float, 4 * blockPixels> &pixels, std::size_t i, std::size_t channel) {
  return pixels[4 * i + channel];
}

/// Composes the fire over a source with straight alpha. `dark` gets all bits of a pixel that does not burn, and none of
/// one that burns. One loop does everything, because the compiler unrolls short loops before it vectorises.
template <typename Pixels>
PixelBlock lay(const Pixels &fire, const OfBlock<std::uint32_t> &source, OfBlock<std::uint32_t> &dark) {
  PixelBlock laid;
  for (std::size_t i = 0; i < blockPixels; ++i) {
    const float red = channelOf(fire, i, 0);
    const float green = channelOf(fire, i, 1);
    const float blue = channelOf(fire, i, 2);
    const float drawnAlpha = channelOf(fire, i, 3);
    const bool burns = std::abs(red) + std::abs(green) + std::abs(blue) + std::abs(drawnAlpha) > 0.0f;
    dark[i] = burns ? 0u : ~0u;
    const float alpha = std::min(std::max(drawnAlpha, 0.0f), 1.0f);
    const float share = channelOf(source, i, 3) * (1.0f - alpha);
    laid[0][i] = red + channelOf(source, i, 0) * share;
    laid[1][i] = green + channelOf(source, i, 1) * share;
    laid[2][i] = blue + channelOf(source, i, 2) * share;
    laid[3][i] = alpha + share;
  }
  return laid;
}

/// `Pixels` is a block of the fire's pixels, bytes or floats.
template <typename Pixels>
void composePicture(const void *fire, const std::uint8_t *source, std::uint8_t *output, int width, int height,
                    bool dithers) {
  constexpr std::size_t pixelBytes = sizeof(Pixels) / blockPixels;
  constexpr Pixels nothing{};
  Pixels over{};
  OfBlock<std::uint32_t> under{};
  OfBlock<std::uint32_t> composed{};
  // `pixels` is the number of pixels in the block; the compiler knows it, except for the last block of a row.
  const auto composeAt = [&](int x, int y, auto pixels) {
    const std::size_t at = static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
    std::memcpy(&over, static_cast<const std::byte *>(fire) + at * pixelBytes, pixels * pixelBytes);
    if (source) std::memcpy(under.data(), source + 4 * at, 4 * pixels);
    // Most of a picture does not burn and keeps its bytes.
    const bool burns = std::memcmp(&over, &nothing, pixels * pixelBytes) != 0;
    if (burns) {
      OfBlock<std::uint32_t> dark;
      composed = deliverStraight(lay(over, under, dark), x, y, dithers);
      // So does each pixel that does not burn: a program may keep colour under alpha 0.
      for (std::size_t i = 0; i < blockPixels; ++i) composed[i] = (under[i] & dark[i]) | (composed[i] & ~dark[i]);
    }
    std::memcpy(output + 4 * at, burns ? composed.data() : under.data(), 4 * pixels);
  };
  constexpr int block = static_cast<int>(blockPixels);
  for (int y = 0; y < height; ++y) {
    int x = 0;
    for (; x + block <= width; x += block) composeAt(x, y, std::integral_constant<std::size_t, blockPixels>());
    if (x < width) composeAt(x, y, static_cast<std::size_t>(width - x));
  }
}

}  // namespace

void compose(const Image &fire, const std::uint8_t *source, std::uint8_t *output) {
  if (fire.isFloat())
    composePicture<std::array<float, 4 * blockPixels>>(fire.asFloats().data(), source, output, fire.width(),
                                                       fire.height(), true);
  else
    composePicture<OfBlock<std::uint32_t>>(fire.asBytes().data(), source, output, fire.width(), fire.height(), false);
}

}  // namespace pyrelux::adapters
