#pragma once

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "AccumulatorTraits.h"
#include "Pass.h"

// A flame's quads made ready to be added up.

namespace pyrelux::soft {

/// The first tap along an axis and the right neighbour of the last.
struct TapRange {
  int low;
  int high;
};

/// Of pixels first .. last.
template <typename Traits>
TapRange tapRange(const Axis &axis, int first, int last) {
  const int a = Traits::texel(axis.position(first));
  const int b = Traits::texel(axis.position(last));
  return {std::min(a, b), std::max(a, b) + 1};
}

/// Where the pixels of a copy at another size sample: for each strip that it touches, and for each row.
template <typename Traits>
struct ScaledTaps {
  std::vector<typename Traits::ColumnTable> columns;
  std::vector<int> rows;
  std::vector<typename Traits::Fraction> rowFractions;
};

template <typename Traits>
struct Copy {
  Axis x;
  Axis y;
  bool isUnit;
  unsigned channels = 0;  ///< a bit for each channel that it adds more than a constant to
  bool hasConstants = false;
  typename Traits::Tint tints[4] = {};
  typename Traits::Sum constants[4] = {};
  /// Of a copy at its own size: from a pixel to the tap that it samples, and how far beyond that.
  int shiftX = 0;
  int shiftY = 0;
  typename Traits::Fraction fractionX{};
  typename Traits::Fraction fractionY{};
  ScaledTaps<Traits> scaled;  ///< of a copy at another size

  TapRange columnRange(int first, int last) const {
    if (isUnit) return {first + shiftX, last + shiftX + 1};
    return tapRange<Traits>(x, first, last);
  }
  TapRange rowRange(int first, int last) const {
    if (isUnit) return {first + shiftY, last + shiftY + 1};
    return tapRange<Traits>(y, first, last);
  }
};

/// A plane, and the channels that get something from it.
struct PlaneGroup {
  int plane;
  int count = 0;
  int channels[4];
  unsigned bits = 0;
};

/// Copies to be added up together.
template <typename Traits>
struct Flame {
  struct Bounds {
    int x0, x1, y0, y1;
  };

  explicit Flame(const TexturePlanes &texturePlanes) : planes(texturePlanes) {}

  /// Whether the kernels can draw the quad: that no tap lies outside the planes' margins.
  bool reaches(const Quad &quad) const;
  /// Nothing happens when the quad adds nothing.
  void add(const Quad &quad, const std::array<bool, 4> &mask);
  /// To be called when all copies are there. Thread: uses the pool.
  void prepare();
  void clear();

  const TexturePlanes &planes;
  std::vector<Copy<Traits>> copies;
  std::vector<Bounds> bounds;  ///< of the copies, side by side: every tile looks through them
  std::vector<PlaneGroup> groups;
  unsigned channels = 0;  ///< all that get anything
  std::size_t scaledCount = 0;
};

inline int firstStrip(const Axis &axis) { return axis.first / stripWidth; }

}  // namespace pyrelux::soft
