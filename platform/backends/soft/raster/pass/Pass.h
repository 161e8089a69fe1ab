#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "Pixels.h"

// What the rasteriser draws, as data: passes of quads. They are independent of OpenGL.
//
// Pixel (0, 0) is the target's lower left one. Colours and textures are premultiplied.

namespace pyrelux::soft {

/// One direction of an axis-aligned quad: the pixels whose centres it covers, and the texture position that each of
/// them samples. Positions are in texels with 32 fractional bits; the centre of texel i is at i, not at i + 1/2.
struct Axis {
  int first = 0;           ///< first pixel covered
  int end = 0;             ///< one past the last pixel covered; none is covered unless end > first
  std::int64_t start = 0;  ///< texture position at `first`
  std::int64_t step = 0;   ///< position difference from one pixel to the next

  static constexpr std::int64_t one = std::int64_t{1} << 32;

  std::int64_t position(int pixel) const { return start + step * (pixel - first); }
  bool isUnit() const { return step == one; }
};

/// The axis of a quad with the edges `from` and `to` (pixels, in any order) and their texture coordinates `textureFrom`
/// and `textureTo` (texels; the texture's edges are whole numbers). Edges are rounded to a grid of 1/256 pixel. A pixel
/// belongs to the quad when its centre lies on or above the lower edge and below the upper edge. A scale that differs
/// from 1 only by rounding becomes 1. Pixels outside 0 .. size - 1 are left out.
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

/// Quads, in drawing order, that share everything except place and colour. Without a texture they draw their colour.
struct Pass {
  std::shared_ptr<const Pixels> texture;  ///< addressed in texels, clamped to its edges
  Filter filter = Filter::Linear;
  Blend blend = Blend::Replace;
  std::array<bool, 4> mask{true, true, true, true};  ///< channels that are written
  std::vector<Quad> quads;
};

/// Whether one pass could hold the quads of both.
bool drawsAlike(const Pass &a, const Pass &b);

}  // namespace pyrelux::soft
