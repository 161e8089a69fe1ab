#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace pyrelux {

/// The number of neighbouring pixels in a block: enough for the compiler's vector loops to pay.
constexpr std::size_t blockPixels = 16;

/// One number for each pixel of a block.
template <typename Number>
using OfBlock = std::array<Number, blockPixels>;

/// The red, green, blue and alpha of a block: premultiplied, 0 .. 1 or more, all finite.
using PixelBlock = std::array<OfBlock<float>, 4>;

/// Converts the pixels from column `x` of row `y` on, as delivered() does with AlphaUse::Straight and 8 bits. Red is in
/// the lowest byte. `dithers` chooses between dithering and rounding to the nearest level.
OfBlock<std::uint32_t> deliverStraight(const PixelBlock &premultiplied, int x, int y, bool dithers);

}  // namespace pyrelux
