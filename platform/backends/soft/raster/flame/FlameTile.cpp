#include "FlameTile.h"

#include <algorithm>

namespace pyrelux::soft {

namespace {

/// Loads the value, which a kernel is about to read, into the cache.
template <typename Value>
void prefetch(const Value &value) {
  constexpr std::size_t cacheLine = 64;
  for (std::size_t offset = 0; offset < sizeof value; offset += cacheLine)
    __builtin_prefetch(reinterpret_cast<const char *>(&value) + offset);
}

}  // namespace

template <typename Traits>
FlameTile<Traits>::FlameTile(const Flame<Traits> &flame, int x0, int y0, int x1, int y1)
    : flame_(flame), isFull_(flame.planes.occupancy().isFull()), x0_(x0), y0_(y0), x1_(x1), y1_(y1) {}

template <typename Traits>
void FlameTile<Traits>::addUp() {
  findParts();
  addNotedConstants();
  if (parts_.empty()) return;
  for (int strip = 0; x0_ + strip * stripWidth < x1_; ++strip)
    for (const PlaneGroup &group : flame_.groups) addGroup(strip, group);
}

template <typename Traits>
void FlameTile<Traits>::findParts() {
  for (std::size_t i = 0; i < flame_.bounds.size(); ++i) {
    const auto &bounds = flame_.bounds[i];
    if (bounds.x0 >= x1_ || bounds.x1 <= x0_ || bounds.y0 >= y1_ || bounds.y1 <= y0_) continue;
    const Copy<Traits> &copy = flame_.copies[i];
    const int x0 = std::max(copy.x.first, x0_), x1 = std::min(copy.x.end, x1_);
    const int y0 = std::max(copy.y.first, y0_), y1 = std::min(copy.y.end, y1_);
    if (x0 >= x1 || y0 >= y1) continue;
    const TapRange rows = copy.rowRange(y0, y1 - 1);
    Part part{&copy, x0, x1, y0, y1, flame_.planes.occupancy().band(rows.low, rows.high)};
    if (copy.isUnit) {
      findStripParts(part);
      if (part.parts == 0) continue;
    } else if (!isFull_ && part.isEmpty(x0, x1)) {
      continue;
    }
    if (copy.hasConstants) noteConstants(part);
    if ((flame_.channels & ~full_) == 0) return;
    if (copy.channels != 0) parts_.push_back(part);
  }
}

template <typename Traits>
void FlameTile<Traits>::findStripParts(Part &part) const {
  const Copy<Traits> &copy = *part.copy;
  const int left = x0_ + copy.shiftX, bottom = part.y0 + copy.shiftY;
  constexpr int blocks = stripHeight / partRows, cell = Occupancy::cellWidth;
  static_assert(Occupancy::cellHeight == partRows && halfStrip == 2 * cell && width / cell + 1 < 25);
  const bool isInside =
      left >= 0 && left + width < flame_.planes.width() && bottom >= 0 && bottom + stripHeight < flame_.planes.height();
  if (isFull_ || !isInside) {
    for (int strip = 0; strip < strips; ++strip)
      for (int half = 0; half < 2; ++half) {
        const int begin = x0_ + strip * stripWidth + half * halfStrip;
        const int from = std::max(part.x0, begin), to = std::min(part.x1, begin + halfStrip);
        if (from < to && (isFull_ || !part.isEmpty(from, to))) part.parts |= 0x55u << (8 * strip + half);
      }
    return;
  }
  // The rows of a block lie in two rows of cells, and the columns of a half in three columns.
  std::uint32_t cells[blocks + 1];
  for (int row = 0; row <= blocks; ++row)
    cells[row] = flame_.planes.occupancy().cellsFrom(left / cell, bottom / Occupancy::cellHeight + row);
  for (int block = 0; block < blocks; ++block) {
    const std::uint32_t rows = cells[block] | cells[block + 1];
    const std::uint32_t halves = rows | rows >> 1 | rows >> 2;
    for (int strip = 0; strip < strips; ++strip) {
      const std::uint32_t both = (halves >> 4 * strip & 1) | (halves >> (4 * strip + 1) & 2);
      part.parts |= both << (8 * strip + 2 * block);
    }
  }
}

template <typename Traits>
bool FlameTile<Traits>::hasAnything(const Part &part, int strip) const {
  const int left = x0_ + strip * stripWidth;
  const int from = std::max(part.x0, left), to = std::min(part.x1, left + stripWidth);
  if (from >= to) return false;
  if (part.copy->isUnit) return (part.parts >> 8 * strip & allParts) != 0;
  return isFull_ || !part.isEmpty(from, to);
}

template <typename Traits>
void FlameTile<Traits>::noteConstants(const Part &part) {
  const bool wholeTile = part.x0 == x0_ && part.x1 == x1_ && part.y0 == y0_ && part.y1 == y1_;
  for (int c = 0; c < 4; ++c) {
    const Sum constant = part.copy->constants[c];
    if (constant == Sum(0) || full_ & 1u << c) continue;
    if (wholeTile) {
      constants_[c] = Traits::plus(constants_[c], constant);
      if (Traits::isFull(constants_[c])) full_ |= 1u << c;
      continue;
    }
    auto &corners = corners_[c];
    if (corners.empty()) corners.resize(cornerStride * (height + 1));
    const auto at = [&](int x, int y) ->
        typename Traits::WideSum & { return corners[static_cast<std::size_t>((y - y0_) * cornerStride + x - x0_)]; };
    at(part.x0, part.y0) += constant;
    at(part.x1, part.y0) -= constant;
    at(part.x0, part.y1) -= constant;
    at(part.x1, part.y1) += constant;
  }
}

template <typename Traits>
void FlameTile<Traits>::addNotedConstants() {
  for (int c = 0; c < 4; ++c) {
    if (corners_[c].empty() || full_ & 1u << c) continue;
    typename Traits::WideSum above[width] = {};
    for (int y = 0; y < y1_ - y0_; ++y) {
      typename Traits::WideSum left = 0;
      for (int x = 0; x < x1_ - x0_; ++x) {
        left += corners_[c][static_cast<std::size_t>(y * cornerStride + x)];
        above[x] += left;
        Sum &sum = sumsOf(c, x / stripWidth)[y * stripWidth + x % stripWidth];
        sum = Traits::plus(sum, above[x]);
      }
    }
  }
}

template <typename Traits>
void FlameTile<Traits>::addGroup(int strip, const PlaneGroup &group) {
  const int left = x0_ + strip * stripWidth;
  int units = 0, scaled = 0;
  for (const Part &part : parts_) {
    if (!(part.copy->channels & group.bits)) continue;
    if (!hasAnything(part, strip)) continue;
    const bool isWhole = part.x0 <= left && part.x1 >= left + stripWidth && part.y0 == y0_ && part.y1 == y1_;
    if (!isWhole) {
      addAlone(strip, group, part);
      continue;
    }
    if (part.copy->isUnit)
      units_[units++] = unitSource(strip, group, part);
    else
      scaled_[scaled++] = scaledSource(strip, group, part);
    if (units < maxAtOnce && scaled < maxAtOnce) continue;
    addSources(strip, group, units_, units);
    addSources(strip, group, scaled_, scaled);
    units = scaled = 0;
    if (isSaturated(strip, group)) return;
  }
  addSources(strip, group, units_, units);
  addSources(strip, group, scaled_, scaled);
}

template <typename Traits>
template <typename Source>
void FlameTile<Traits>::addSources(int strip, const PlaneGroup &group, const Source *sources, int count) {
  if (count > 0) Traits::add(sources, count, flame_.planes.stride(), targetOf(strip, group, y0_, y1_));
}

template <typename Traits>
void FlameTile<Traits>::addAlone(int strip, const PlaneGroup &group, const Part &part) {
  const int left = x0_ + strip * stripWidth;
  auto target = targetOf(strip, group, part.y0, part.y1);
  alignas(64) Sum mask[stripWidth];
  if (part.x0 > left || part.x1 < left + stripWidth) {
    for (int i = 0; i < stripWidth; ++i) mask[i] = left + i >= part.x0 && left + i < part.x1 ? Traits::maskOn : Sum(0);
    target.mask = mask;
  }
  const auto add = [&](const auto &source) { Traits::add(&source, 1, flame_.planes.stride(), target); };
  if (part.copy->isUnit)
    add(unitSource(strip, group, part));
  else
    add(scaledSource(strip, group, part));
}

template <typename Traits>
typename Traits::UnitCopy FlameTile<Traits>::unitSource(int strip, const PlaneGroup &group, const Part &part) const {
  const Copy<Traits> &copy = *part.copy;
  typename Traits::UnitCopy source;
  source.texels =
      Traits::texels(flame_.planes, group.plane, x0_ + strip * stripWidth + copy.shiftX, part.y0 + copy.shiftY);
  source.parts = part.parts >> 8 * strip & allParts;
  source.fractionX = copy.fractionX;
  source.fractionY = copy.fractionY;
  for (int i = 0; i < group.count; ++i) source.tints[i] = copy.tints[group.channels[i]];
  return source;
}

template <typename Traits>
typename Traits::ScaledCopy FlameTile<Traits>::scaledSource(int strip, const PlaneGroup &group,
                                                            const Part &part) const {
  const Copy<Traits> &copy = *part.copy;
  typename Traits::ScaledCopy source;
  source.columns = &copy.scaled.columns[static_cast<std::size_t>(x0_ / stripWidth + strip - firstStrip(copy.x))];
  prefetch(*source.columns);
  source.texels = Traits::texels(flame_.planes, group.plane, *source.columns);
  source.texelRows = copy.scaled.texelRows.data();
  source.lowerRows = copy.scaled.lowerRows.data() + (part.y0 - copy.y.first);
  source.rowFractions = copy.scaled.rowFractions.data() + (part.y0 - copy.y.first);
  for (int i = 0; i < group.count; ++i) source.tints[i] = Traits::scaledTint(copy.tints[group.channels[i]]);
  return source;
}

template <typename Traits>
bool FlameTile<Traits>::isSaturated(int strip, const PlaneGroup &group) const {
  for (int i = 0; i < group.count; ++i)
    if (!Traits::isSaturated(sums_[group.channels[i]][strip], y1_ - y0_)) return false;
  return true;
}

template <typename Traits>
typename Traits::Target FlameTile<Traits>::targetOf(int strip, const PlaneGroup &group, int y0, int y1) {
  typename Traits::Target target;
  target.channels = group.count;
  for (int i = 0; i < group.count; ++i) target.sums[i] = sumsOf(group.channels[i], strip) + (y0 - y0_) * stripWidth;
  target.rows = y1 - y0;
  return target;
}

template <typename Traits>
typename Traits::Sum *FlameTile<Traits>::sumsOf(int channel, int strip) {
  const unsigned bit = 1u << channel;
  if (!(used_[strip] & bit)) {
    std::fill_n(sums_[channel][strip], stripSize, Sum(0));
    used_[strip] |= bit;
  }
  return sums_[channel][strip];
}

template <typename Traits>
void FlameTile<Traits>::writeTo(Pixels &target, bool blank) const {
  // Channels whose sums are not initialised use a row of zeros.
  static constexpr Sum zeros[stripWidth] = {};
  const bool anyConstant = std::any_of(constants_, constants_ + 4, [](Sum constant) { return constant != Sum(0); });
  for (int y = y0_; y < y1_; ++y)
    for (int x = x0_; x < x1_; x += stripWidth) {
      const int strip = (x - x0_) / stripWidth;
      const int count = std::min(stripWidth, x1_ - x);
      const bool any = used_[strip] || anyConstant;
      if (!any && !blank) continue;
      const Sum *rows[4];
      for (int c = 0; c < 4; ++c) rows[c] = used_[strip] >> c & 1 ? sums_[c][strip] + (y - y0_) * stripWidth : zeros;
      auto *pixels = Traits::row(target, y) + 4 * x;
      if (any)
        Traits::put(rows, constants_, count, blank, pixels);
      else
        std::fill_n(pixels, 4 * count, 0);
    }
}

template class FlameTile<ByteAccumulator>;
template class FlameTile<FloatAccumulator>;
template class FlameTile<MixedAccumulator>;

}  // namespace pyrelux::soft
