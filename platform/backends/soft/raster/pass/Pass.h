#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "Pixels.h"

// What is to be drawn, as data. Nothing here knows where it comes from.

namespace pyrelux::soft {

/// One direction of an axis-aligned quad: the pixels whose centres it covers, and where in the texture each of them
/// samples. Positions are in texels with 32 fractional bits; texel i lies at i, not at i + 1/2.
struct Axis {
  int first = 0;           ///< first pixel covered
  int end = 0;             ///< one past the last; nothing is covered when it is not above first
  std::int64_t start = 0;  ///< texture position at `first`
  std::int64_t step = 0;   ///< from one pixel to the next

  static constexpr std::int64_t one = std::int64_t{1} << 32;

  std::int64_t position(int pixel) const { return start + step * (pixel - first); }
  bool isUnit() const { return step == one; }
};

/// The axis of a quad's edges `from` and `to` (pixels; any order) with texture coordinates `textureFrom` and
/// `textureTo` (texels, edges at whole numbers). Edges are placed on a grid of 1/256 pixel; a pixel belongs to the quad
/// when its centre lies on or above the lower edge and below the upper one. A scale within rounding of 1 is exactly 1.
/// Pixels outside 0 .. size are left out.
Axis makeAxis(double from, double to, double textureFrom, double textureTo, int size);

using Colour = std::array<float, 4>;  ///< red, green, blue, alpha in 0 .. 1

struct Quad {
  Axis x;
  Axis y;
  Colour colour;
};

enum class Filter { Nearest, Linear };

enum class Blend {
  Replace,  ///< source
  Add,      ///< source + destination
  Over,     ///< source + destination * (1 - source alpha)
};

/// Quads that share everything but place and colour, in order. Without a texture the colour alone is drawn.
struct Pass {
  std::shared_ptr<const Pixels> texture;  ///< addressed in texels, clamped to its edges
  Filter filter = Filter::Linear;
  Blend blend = Blend::Replace;
  std::array<bool, 4> mask{true, true, true, true};  ///< channels that are written
  std::vector<Quad> quads;
};

/// Whether the quads of both could be in one pass.
bool drawsAlike(const Pass &a, const Pass &b);

}  // namespace pyrelux::soft
