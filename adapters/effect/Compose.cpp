#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "Canvas.h"
#include "StraightBlock.h"
#include "VectorClones.h"

namespace pyrelux::adapters {

namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "red is taken for the lowest byte");

/// The fire's samples, by their type: a channel (0 is red) of a pixel in a block, 0 .. 1 or more.
struct Bytes {
  static constexpr std::size_t pixelBytes = 4;
  static float channel(const std::byte *block, std::size_t pixel, std::size_t channel) {
    std::uint32_t levels;
    std::memcpy(&levels, block + pixelBytes * pixel, sizeof levels);
    return static_cast<float>(static_cast<std::int32_t>((levels >> (8 * channel)) & 255)) * (1.0f / 255.0f);
  }
};
struct Floats {
  static constexpr std::size_t pixelBytes = 16;
  static float channel(const std::byte *block, std::size_t pixel, std::size_t channel) {
    float sample;
    std::memcpy(&sample, block + pixelBytes * pixel + sizeof sample * channel, sizeof sample);
    return sample;
  }
};

/// Composes the fire over a source with straight alpha. `dark` gets all bits of a pixel that does not burn, and none of
/// one that burns. One loop does everything, because the compiler unrolls short loops before it vectorises.
template <typename Fire>
inline PixelBlock lay(const std::byte *fire, const std::byte *source, OfBlock<std::uint32_t> &dark) {
  PixelBlock laid;
  for (std::size_t i = 0; i < blockPixels; ++i) {
    const float red = Fire::channel(fire, i, 0);
    const float green = Fire::channel(fire, i, 1);
    const float blue = Fire::channel(fire, i, 2);
    const float drawnAlpha = Fire::channel(fire, i, 3);
    const bool burns = std::abs(red) + std::abs(green) + std::abs(blue) + std::abs(drawnAlpha) > 0.0f;
    dark[i] = burns ? 0u : ~0u;
    const float alpha = std::min(std::max(drawnAlpha, 0.0f), 1.0f);
    const float share = Bytes::channel(source, i, 3) * (1.0f - alpha);
    laid[0][i] = red + Bytes::channel(source, i, 0) * share;
    laid[1][i] = green + Bytes::channel(source, i, 1) * share;
    laid[2][i] = blue + Bytes::channel(source, i, 2) * share;
    laid[3][i] = alpha + share;
  }
  return laid;
}

/// Whether any of a block's bytes is not 0.
template <typename Fire>
inline bool burns(const std::byte *block) {
  std::uint64_t any = 0;
  for (std::size_t at = 0; at < blockPixels * Fire::pixelBytes; at += sizeof any) {
    std::uint64_t part;
    std::memcpy(&part, block + at, sizeof part);
    any |= part;
  }
  return any != 0;
}

/// Composes a block from column `x` of row `y` on. `output` may be the source.
template <typename Fire>
inline void composeBlock(const std::byte *fire, const std::byte *source, std::byte *output, int x, int y,
                         bool dithers) {
  OfBlock<std::uint32_t> dark, under;
  OfBlock<std::uint32_t> composed = deliverStraight(lay<Fire>(fire, source, dark), x, y, dithers);
  std::memcpy(under.data(), source, sizeof under);
  // A pixel that does not burn keeps its bytes: a program may keep colour under alpha 0.
  for (std::size_t i = 0; i < blockPixels; ++i) composed[i] = (under[i] & dark[i]) | (composed[i] & ~dark[i]);
  std::memcpy(output, composed.data(), sizeof composed);
}

/// Pixels that keep the source's bytes; black without a source.
inline void keep(const std::byte *source, std::byte *output, std::size_t pixels) {
  if (pixels == 0) return;
  if (!source)
    std::memset(output, 0, 4 * pixels);
  else if (source != output)
    std::memcpy(output, source, 4 * pixels);
}

/// Composes row `y`.
template <typename Fire>
PYRELUX_VECTOR_CLONES void composeRow(const std::byte *fire, const std::byte *source, std::byte *output,
                                      std::size_t width, int y, bool dithers) {
  static constexpr std::byte nothing[4 * blockPixels] = {};
  const auto sourceAt = [&](std::size_t x) { return source ? source + 4 * x : nullptr; };
  // Most of a picture does not burn and keeps its bytes: the pixels from `kept` on.
  std::size_t x = 0, kept = 0;
  for (; x + blockPixels <= width; x += blockPixels) {
    const std::byte *const block = fire + Fire::pixelBytes * x;
    if (!burns<Fire>(block)) continue;
    keep(sourceAt(kept), output + 4 * kept, x - kept);
    composeBlock<Fire>(block, source ? source + 4 * x : nothing, output + 4 * x, static_cast<int>(x), y, dithers);
    kept = x + blockPixels;
  }
  keep(sourceAt(kept), output + 4 * kept, x - kept);
  if (x == width) return;
  std::byte over[Fire::pixelBytes * blockPixels] = {}, under[4 * blockPixels] = {}, composed[4 * blockPixels];
  std::memcpy(over, fire + Fire::pixelBytes * x, Fire::pixelBytes * (width - x));
  if (source) std::memcpy(under, source + 4 * x, 4 * (width - x));
  composeBlock<Fire>(over, under, composed, static_cast<int>(x), y, dithers);
  std::memcpy(output + 4 * x, composed, 4 * (width - x));
}

template <typename Fire>
void composePicture(const Image &fire, const void *samples, const std::byte *source, std::byte *output) {
  const auto width = static_cast<std::size_t>(fire.width());
  for (int y = 0; y < fire.height(); ++y) {
    const std::size_t first = static_cast<std::size_t>(y) * width;
    composeRow<Fire>(static_cast<const std::byte *>(samples) + Fire::pixelBytes * first,
                     source ? source + 4 * first : nullptr, output + 4 * first, width, y, fire.isFloat());
  }
}

}  // namespace

void compose(const Image &fire, const std::uint8_t *source, std::uint8_t *output) {
  const auto *const under = reinterpret_cast<const std::byte *>(source);
  auto *const composed = reinterpret_cast<std::byte *>(output);
  if (fire.isFloat())
    composePicture<Floats>(fire, fire.asFloats().data(), under, composed);
  else
    composePicture<Bytes>(fire, fire.asBytes().data(), under, composed);
}

}  // namespace pyrelux::adapters
