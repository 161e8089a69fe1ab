#pragma once

#include <cstddef>

#include "Image.h"

namespace pyrelux {

/// What becomes of the alpha of a drawn picture in what a person gets: a file, or a frame of a video program.
///
/// Flames are light: they are drawn brighter than their alpha, and on float surfaces alpha itself exceeds 1. In all
/// kinds alpha is first limited to 0 .. 1, NaN to 0.
enum class AlphaUse {
  /// Straight alpha that loses no light: A' = max(A, R, G, B), at most 1, and colour = premultiplied / A'. Over black
  /// that is the premultiplied picture, limited to 1.
  Straight,
  /// Straight alpha as it was drawn; colour is cut to it.
  Exact,
  /// Colour as it was drawn, which may exceed alpha.
  Premultiplied,
  /// Opaque: the picture over black, for blend modes that add light (Screen, Add).
  None,
};

struct Delivery {
  AlphaUse alpha = AlphaUse::Straight;
  /// 0 .. 1: how much denser than its light the fire is, so that it covers what is bright behind it. It raises alpha
  /// from what `alpha` gives towards 1 - (1 - m)^2, m being the brightest channel (at most 1): what two layers of a
  /// fire that covers as much as it shines would cover. Without effect on AlphaUse::None.
  float density = 0.0f;
};

/// The alpha of a premultiplied pixel before it is rounded, in 0 .. 1.
float deliveredAlpha(float red, float green, float blue, float alpha, const Delivery &delivery);

/// A drawn picture as it is delivered at a depth of `bits` per channel in whole numbers, or 32 for floats. `drawn` is
/// premultiplied. Alpha is rounded (dithered from floats to 8 bits, see Dither.h) before colour is divided by it, so
/// that colour times the alpha that is stored comes within a level of what was drawn; where that alpha is 0, colour is
/// 0 too. The result has straight alpha for Straight and Exact, else premultiplied. Bytes that are delivered with 8
/// bits stay bytes; everything else comes as floats, with colours that are still to be rounded and limited to 1.
/// StraightBlock.h does the most frequent case several pixels at a time.
Image delivered(const Image &drawn, const Delivery &delivery, int bits);

/// How many pixels AlphaUse::Exact cuts by half a level of `bits` or more: their colour, limited to 1, exceeds alpha.
std::size_t countCut(const Image &drawn, const Delivery &delivery, int bits);

}  // namespace pyrelux
