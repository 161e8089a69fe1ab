#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>

#include "Effect.h"

namespace pyrelux::adapters {

namespace {

/// Pixels that are composed together: as many as make one of the compiler's loops over vectors worth while.
constexpr std::size_t blockPixels = 16;
using Block = std::array<std::uint32_t, blockPixels>;

/// A channel of a pixel, red the first.
float level(std::uint32_t pixel, int channel) {
  return static_cast<float>(static_cast<std::int32_t>((pixel >> (8 * channel)) & 255));
}

/// Rounds; what is above 255 is 255.
std::uint32_t channelOf(float level, int channel) {
  return static_cast<std::uint32_t>(static_cast<std::int32_t>(std::min(level, 255.0f) + 0.5f)) << (8 * channel);
}

/// Without a branch, so that pixels are composed side by side.
void composeBlock(const Block &fire, const Block &source, Block &output) {
  static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "red is taken for the lowest byte");
  for (std::size_t i = 0; i < blockPixels; ++i) {
    const std::uint32_t over = fire[i];
    const std::uint32_t under = source[i];
    const float underAlpha = level(under, 3) * (255.0f - level(over, 3)) * (1.0f / 255.0f);
    const float share = underAlpha * (1.0f / 255.0f);
    const float red = level(over, 0) + level(under, 0) * share;
    const float green = level(over, 1) + level(under, 1) * share;
    const float blue = level(over, 2) + level(under, 2) * share;
    const float brightest = std::max(std::max(red, green), blue);
    const float alpha = std::min(std::max(level(over, 3) + underAlpha, brightest), 255.0f);
    // Where there is nothing at all the result is not used.
    const float straight = 255.0f / std::max(alpha, 1.0f);
    const std::uint32_t composed = channelOf(red * straight, 0) | channelOf(green * straight, 1) |
                                   channelOf(blue * straight, 2) | channelOf(alpha, 3);
    output[i] = over == 0 ? under : composed;
  }
}

}  // namespace

void compose(const std::uint8_t *fire, const std::uint8_t *source, std::uint8_t *output, std::size_t pixels) {
  constexpr Block nothing{};
  Block over{};
  Block under{};
  Block composed{};
  // `bytes`: of a block, or what is left; known to the compiler for all blocks but the last.
  const auto composeAt = [&](std::size_t at, auto bytes) {
    std::memcpy(over.data(), fire + at, bytes);
    if (source) std::memcpy(under.data(), source + at, bytes);
    // Most of a picture does not burn, and keeps its bytes.
    const bool burns = std::memcmp(over.data(), nothing.data(), bytes) != 0;
    if (burns) composeBlock(over, under, composed);
    std::memcpy(output + at, burns ? composed.data() : under.data(), bytes);
  };
  std::size_t at = 0;
  for (; at + sizeof(Block) <= 4 * pixels; at += sizeof(Block))
    composeAt(at, std::integral_constant<std::size_t, sizeof(Block)>());
  if (at < 4 * pixels) composeAt(at, 4 * pixels - at);
}

}  // namespace pyrelux::adapters
