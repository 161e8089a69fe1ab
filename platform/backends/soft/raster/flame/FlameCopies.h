#pragma once

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "AccumulatorTraits.h"
#include "Pass.h"
#include "TileParts.h"

// A flame's quads, prepared for adding up.

namespace pyrelux::soft {

/// The lowest and the highest texel that a range of pixels samples along an axis.
struct TapRange {
  int low;
  int high;
};

/// The texels that pixels first .. last sample.
template <typename Traits>
TapRange tapRange(const Axis &axis, int first, int last) {
  const int a = Traits::texel(axis.position(first));
  const int b = Traits::texel(axis.position(last));
  return {std::min(a, b), std::max(a, b) + 1};
}

/// The places where a copy at another size samples: for each strip that it touches, and for each of its rows.
template <typename Traits>
struct ScaledTaps {
  std::vector<typename Traits::ColumnTable> columns;
  std::vector<int> texelRows;  ///< the rows of texels that the copy's rows need, in their order
  std::vector<int>
      lowerRows;  ///< for each row of the copy, the index in texelRows of its lower tap; the next is the upper
  std::vector<typename Traits::Fraction> rowFractions;
};

/// A quad, prepared for adding up.
template <typename Traits>
struct Copy {
  Axis x;
  Axis y;
  bool isUnit;
  unsigned channels = 0;  ///< a bit for each channel to which it adds more than a constant
  bool hasConstants = false;
  typename Traits::Tint tints[4] = {};
  typename Traits::Sum constants[4] = {};
  /// For a copy at its own size: pixel + shift is the lower left tap, and the fraction is the same for all pixels.
  int shiftX = 0;
  int shiftY = 0;
  typename Traits::Fraction fractionX{};
  typename Traits::Fraction fractionY{};
  ScaledTaps<Traits> scaled;  ///< for a copy at another size

  TapRange columnRange(int first, int last) const {
    if (isUnit) return {first + shiftX, last + shiftX + 1};
    return tapRange<Traits>(x, first, last);
  }
  TapRange rowRange(int first, int last) const {
    if (isUnit) return {first + shiftY, last + shiftY + 1};
    return tapRange<Traits>(y, first, last);
  }
};

/// A plane and the channels that copies draw from it.
struct PlaneGroup {
  int plane;
  int count = 0;
  int channels[4];
  unsigned bits = 0;
};

/// The copies that are added up together.
template <typename Traits>
struct Flame {
  /// What tells whether a copy has anything in a tile.
  struct Bounds {
    int x0, x1, y0, y1;  ///< the pixels where it may add something
    bool isUnit;         ///< as Copy's
    int shiftX, shiftY;
  };

  explicit Flame(const TexturePlanes &texturePlanes) : planes(texturePlanes), parts(texturePlanes.occupancy()) {}

  /// Whether the kernels can draw the quad: no tap lies outside the planes' margins.
  bool reaches(const Quad &quad) const;
  /// Adds a copy for the quad, unless it would change nothing. `mask` has the channels that are written.
  void add(const Quad &quad, const std::array<bool, 4> &mask);
  Bounds boundsOf(const Copy<Traits> &copy) const;
  /// Completes the copies after the last add(). Thread: uses the pool.
  void prepare();
  /// Removes all copies.
  void clear();

  const TexturePlanes &planes;
  const TileParts parts;
  std::vector<Copy<Traits>> copies;
  /// For each copy; contiguous, because every tile searches them.
  std::vector<Bounds> bounds;
  std::vector<PlaneGroup> groups;
  unsigned channels = 0;        ///< a bit for each channel that any copy changes
  std::size_t scaledCount = 0;  ///< copies at another size than their own
};

inline int firstStrip(const Axis &axis) { return axis.first / stripWidth; }

}  // namespace pyrelux::soft
