#pragma once

#include "FlameCopies.h"

namespace pyrelux::soft {

/// A tile of the target, in which a flame is added up strip by strip. Its sums fit in the cache.
template <typename Traits>
class FlameTile {
 public:
  static constexpr int width = 128;
  static constexpr int height = stripHeight;

  /// The tile has the pixels x0 <= x < x1, y0 <= y < y1, at most width x height of them; x0 is a multiple of
  /// stripWidth. Keeps a reference to the flame.
  FlameTile(const Flame<Traits> &flame, int x0, int y0, int x1, int y1);

  /// Adds up the flame's copies in the tile.
  void addUp();
  /// Adds the sums to the target's pixels; if the target is blank, they replace the pixels.
  void writeTo(Pixels &target, bool blank) const;

 private:
  using Sum = typename Traits::Sum;
  static constexpr int strips = width / stripWidth;
  static constexpr int stripSize = stripWidth * height;
  static constexpr int cornerStride = width + 1;
  /// The maximum number of copies in one call of a kernel: as many as share texels in the cache.
  static constexpr int maxAtOnce = 8;

  /// The part of a copy that lies in the tile, and the texture rows that it samples.
  struct Part {
    const Copy<Traits> *copy;
    int x0, x1, y0, y1;
    Occupancy::Band band;
    /// For a copy at its own size, eight bits for each strip: a Unit…::parts.
    std::uint32_t parts = 0;

    bool isEmpty(int from, int to) const {
      const TapRange columns = copy->columnRange(from, to - 1);
      return !band.any(columns.low, columns.high);
    }
  };

  void findParts();
  /// Sets part.parts.
  void findStripParts(Part &part) const;
  bool hasAnything(const Part &part, int strip) const;
  void noteConstants(const Part &part);
  void addNotedConstants();
  void addGroup(int strip, const PlaneGroup &group);
  /// Adds a part that does not fill the strip.
  void addAlone(int strip, const PlaneGroup &group, const Part &part);
  template <typename Source>
  void addSources(int strip, const PlaneGroup &group, const Source *sources, int count);
  typename Traits::UnitCopy unitSource(int strip, const PlaneGroup &group, const Part &part) const;
  typename Traits::ScaledCopy scaledSource(int strip, const PlaneGroup &group, const Part &part) const;
  bool isSaturated(int strip, const PlaneGroup &group) const;
  typename Traits::Target targetOf(int strip, const PlaneGroup &group, int y0, int y1);
  Sum *sumsOf(int channel, int strip);

  const Flame<Traits> &flame_;
  bool isFull_;  ///< whether the texture has no empty cells, so that no part can be skipped
  int x0_, y0_, x1_, y1_;
  std::vector<Part> parts_;
  typename Traits::UnitCopy units_[maxAtOnce];
  typename Traits::ScaledCopy scaled_[maxAtOnce];
  unsigned used_[strips] = {};  ///< a bit for each channel whose sums_ are initialised
  unsigned full_ = 0;           ///< a bit for each channel that is saturated in the whole tile
  Sum constants_[4] = {};       ///< constants of copies that cover the whole tile
  /// Constants of copies that cover a rectangle of the tile, as differences: added at the rectangle's first corner and
  /// at the opposite one, subtracted at the other two. Prefix sums along both directions give each pixel's constant.
  /// Empty when there are none.
  std::vector<typename Traits::WideSum> corners_[4];
  alignas(64) Sum sums_[4][strips][stripSize];
};

}  // namespace pyrelux::soft
