#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace pyrelux {

/// Neighbouring pixels of a row, as many as make one of the compiler's loops over vectors worth while.
constexpr std::size_t blockPixels = 16;

/// One number of each of them.
template <typename Number>
using OfBlock = std::array<Number, blockPixels>;

/// Red, green, blue and alpha, premultiplied, 0 .. 1 or more, all finite.
using PixelBlock = std::array<OfBlock<float>, 4>;

/// The pixels from column `x` of row `y` on as delivered() makes them with AlphaUse::Straight and 8 bits, red in the
/// lowest byte. `dithers`: otherwise they are rounded to the nearest level.
OfBlock<std::uint32_t> deliverStraight(const PixelBlock &premultiplied, int x, int y, bool dithers);

}  // namespace pyrelux
