#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Colour.h"
#include "Image.h"

// How pictures go to a page.

namespace pyrelux::studio {

/// What lies behind a frame: a colour, or a picture of floats of the frame's size.
struct Backdrop {
  Colour colour{};
  std::shared_ptr<const Image> picture = {};  ///< null for the colour
};

/// Squares of two greys of `square` pixels, as floats.
Image checkerboard(int width, int height, int square);

/// How large the squares are in a picture of full size, in pixels.
constexpr int checkerSquare = 16;

/// A quick JPEG of a premultiplied picture over its backdrop. Throws std::runtime_error. Thread: one at a time; it
/// takes the help of another.
class DraftEncoder {
 public:
  DraftEncoder();
  ~DraftEncoder();
  DraftEncoder(const DraftEncoder &) = delete;
  DraftEncoder &operator=(const DraftEncoder &) = delete;

  std::vector<std::uint8_t> encode(const Image &front, const Backdrop &back);

 private:
  void *compressor_;                  ///< libjpeg-turbo's
  std::vector<std::uint8_t> pixels_;  ///< red, green, blue and nothing; kept from picture to picture
};

/// The same in full: a PNG with the pixels that a render over that backdrop stores. Throws media::EncoderError.
std::vector<std::uint8_t> settledPng(const Image &front, const Backdrop &back, int bits, double pixelAspect);

}  // namespace pyrelux::studio
