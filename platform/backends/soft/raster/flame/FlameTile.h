#pragma once

#include "FlameCopies.h"

namespace pyrelux::soft {

/// A tile of the target, small enough for its sums to stay in the cache, where a flame is added up strip by strip.
template <typename Traits>
class FlameTile {
 public:
  static constexpr int width = 128;
  static constexpr int height = 32;

  /// Pixels x0 <= x < x1, y0 <= y < y1: no more than width and height, x0 a multiple of stripWidth.
  FlameTile(const Flame<Traits> &flame, int x0, int y0, int x1, int y1);

  void addUp();
  /// Adds the sums to the target's pixels, or, when that is blank, puts them there.
  void writeTo(Pixels &target, bool blank) const;

 private:
  using Sum = typename Traits::Sum;
  static constexpr int strips = width / stripWidth;
  static constexpr int stripSize = stripWidth * height;
  static constexpr int cornerStride = width + 1;
  /// Copies that a kernel takes at once: as many as share texels in the cache.
  static constexpr int maxAtOnce = 8;

  /// The part of a copy that lies in the tile, and the rows of the texture that it shows.
  struct Part {
    const Copy<Traits> *copy;
    int x0, x1, y0, y1;
    Occupancy::Band band;

    bool isEmpty(int from, int to) const {
      const TapRange columns = copy->columnRange(from, to - 1);
      return !band.any(columns.low, columns.high);
    }
  };

  void findParts();
  /// A bit for each half of a strip in which something of a part is to be seen.
  unsigned halvesOf(const Part &part, int strip) const;
  void noteConstants(const Part &part);
  void addNotedConstants();
  void addGroup(int strip, const PlaneGroup &group);
  /// The part of a copy that does not fill the strip.
  void addAlone(int strip, const PlaneGroup &group, const Part &part, unsigned halves);
  template <typename Source>
  void addSources(int strip, const PlaneGroup &group, const Source *sources, int count);
  typename Traits::UnitCopy unitSource(int strip, const PlaneGroup &group, const Part &part, unsigned halves) const;
  typename Traits::ScaledCopy scaledSource(int strip, const PlaneGroup &group, const Part &part) const;
  bool isSaturated(int strip, const PlaneGroup &group) const;
  typename Traits::Target targetOf(int strip, const PlaneGroup &group, int y0, int y1);
  Sum *sumsOf(int channel, int strip);

  const Flame<Traits> &flame_;
  bool isFull_;  ///< whether there is nothing in the texture to be left out
  int x0_, y0_, x1_, y1_;
  std::vector<Part> parts_;
  typename Traits::UnitCopy units_[maxAtOnce];
  typename Traits::ScaledCopy scaled_[maxAtOnce];
  unsigned used_[strips] = {};  ///< a bit for each channel whose sums are there
  unsigned full_ = 0;           ///< a bit for each channel to which more makes no difference anywhere
  Sum constants_[4] = {};       ///< of the whole tile
  /// Of parts of it: added at a rectangle's first corner and the one across, taken off at the other two, so that sums
  /// along both directions give every pixel what covers it. Empty without.
  std::vector<typename Traits::WideSum> corners_[4];
  alignas(64) Sum sums_[4][strips][stripSize];
};

}  // namespace pyrelux::soft
