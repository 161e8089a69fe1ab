#pragma once

#include <cstdint>
#include <vector>

#include "Image.h"

namespace pyrelux::media {

/// How much time a PNG takes for being small. The pixels are the same.
enum class PngEffort { Usual, Least };

/// The bytes of a PNG with the pixels that a Writer stores of a picture: `bits` 8 or 16 per channel, `pixelAspect` the
/// width of a pixel / its height. `image` is premultiplied, or straight and stored as it is. Throws EncoderError.
std::vector<std::uint8_t> pngBytes(const Image &image, int bits, double pixelAspect, PngEffort effort);

}  // namespace pyrelux::media
