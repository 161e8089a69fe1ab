#pragma once

#include "FlameCopies.h"

namespace pyrelux::soft {

/// A tile of the target, in which a flame is added up strip by strip. Its sums fit in the cache.
template <typename Traits>
class FlameTile {
 public:
  static constexpr int width = tileWidth;
  static constexpr int height = tileHeight;

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

  /// The part of a copy that lies in the tile.
  struct Part {
    const Copy<Traits> *copy;
    int x0, x1, y0, y1;
    std::uint32_t parts;  ///< as TileParts::at() gives them: where the copy may have anything
  };

  /// Copies that wait to be added together.
  template <typename Source>
  struct Queue {
    int count = 0;
    Source sources[maxAtOnce];

    bool isFull() const { return count == maxAtOnce; }
    void push(const Source &source) { sources[count++] = source; }
  };

  void findParts();
  /// All parts of the strips where a copy at another size may have anything.
  std::uint32_t occupiedStrips(const Copy<Traits> &copy, int x0, int x1, int y0, int y1) const;
  void noteConstants(const Part &part);
  void addNotedConstants();
  void addGroup(int strip, const PlaneGroup &group);
  /// Adds a part that does not fill the strip.
  void addAlone(int strip, const PlaneGroup &group, const Part &part);
  /// Adds what waits to the target.
  template <typename Source>
  void flush(Queue<Source> &queue, const typename Traits::Target &target);
  /// The same. Returns whether adding more would not change the target.
  template <typename Source>
  bool saturates(Queue<Source> &queue, const typename Traits::Target &target);
  typename Traits::UnitCopy unitSource(int strip, const PlaneGroup &group, const Part &part) const;
  typename Traits::ScaledCopy scaledSource(int strip, const PlaneGroup &group, const Part &part) const;
  /// Rows y0 .. y1 - 1 of a strip.
  typename Traits::Target targetOf(int strip, const PlaneGroup &group, int y0, int y1);
  /// The part of a strip's target with this number.
  typename Traits::Target partOf(const typename Traits::Target &strip, int part) const;
  Sum *sumsOf(int channel, int strip);

  const Flame<Traits> &flame_;
  bool isFull_;  ///< whether the texture has no empty cells, so that no part can be skipped
  int x0_, y0_, x1_, y1_;
  std::vector<Part> parts_;
  Queue<typename Traits::UnitCopy> units_;  ///< for a whole strip
  Queue<typename Traits::UnitCopy> unitsOfPart_[partsOfStrip];
  Queue<typename Traits::ScaledCopy> scaled_;
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
