#pragma once

#include <cstddef>

#include "Image.h"

namespace pyrelux {

/// How a drawn picture's alpha is converted for delivery, in a file or to a video program.
///
/// Flames are light: their colour is brighter than their alpha, and on float surfaces alpha itself exceeds 1. Every
/// kind first limits alpha to 0 .. 1; NaN becomes 0.
enum class AlphaUse {
  /// Straight alpha that loses no light: A' = max(A, R, G, B), at most 1; colour = premultiplied / A'. Over black it
  /// gives the premultiplied picture, limited to 1.
  Straight,
  /// Straight alpha as drawn; colour is limited to it.
  Exact,
  /// Premultiplied colour as drawn; it may exceed alpha.
  Premultiplied,
  /// Opaque: the picture over black, for blend modes that add light (Screen, Add).
  None,
};

struct Delivery {
  AlphaUse alpha = AlphaUse::Straight;
  /// How much denser than its light the fire is, 0 .. 1; a dense fire covers a bright background. It raises alpha from
  /// the result of `alpha` towards 1 - (1 - m)^2, where m is the brightest channel (at most 1): the coverage of two
  /// layers of a fire that covers as much as it shines. AlphaUse::None ignores it.
  float density = 0.0f;
};

/// The alpha of a premultiplied pixel before it is rounded, in 0 .. 1.
float deliveredAlpha(float red, float green, float blue, float alpha, const Delivery &delivery);

/// Converts a drawn picture for delivery with `bits` bits per channel as whole numbers, or 32 for floats. `drawn` is
/// premultiplied. Alpha is rounded before colour is divided by it (from floats to 8 bits it is dithered, see Dither.h).
/// Therefore colour times the stored alpha is within a level of the drawn colour; where the stored alpha is 0, colour
/// is 0. The result has straight alpha for Straight and Exact, else premultiplied. Bytes for 8 bits stay bytes.
/// Everything else becomes floats, whose colours the caller rounds and limits to 1. StraightBlock.h does the most
/// frequent case for several pixels at a time.
Image delivered(const Image &drawn, const Delivery &delivery, int bits);
/// Row `y` of the same, of a picture of floats: four interleaved samples for each of `width` pixels. `from` and `to`
/// may be the same.
void deliverRow(const float *from, const Delivery &delivery, int bits, int y, int width, float *to);

/// The number of pixels that AlphaUse::Exact darkens by more than half a level of `bits`, because their colour, limited
/// to 1, exceeds alpha.
std::size_t countCut(const Image &drawn, const Delivery &delivery, int bits);

}  // namespace pyrelux
