#include "FlameCopies.h"

#include <algorithm>

#include "ThreadPool.h"

namespace pyrelux::soft {

namespace {

int stripCount(const Axis &axis) { return (axis.end - 1) / stripWidth - firstStrip(axis) + 1; }

/// The position of a pixel in the copy. Strips also have pixels beside the copy; those are masked, and take the
/// position of the nearest pixel in it.
std::int64_t positionInside(const Axis &axis, int pixel) {
  return axis.position(std::clamp(pixel, axis.first, axis.end - 1));
}

/// A position's lower texel, and its fraction in the units of a table.
Tap tapFor(std::int64_t position, const LevelColumnTable &) { return tapAt(position); }
Tap tapFor(std::int64_t position, const MixedColumnTable &) {
  const std::int64_t fraction = position & (Axis::one - 1);
  return {FloatAccumulator::texel(position), static_cast<int>((fraction * mixedUnit + Axis::one / 2) >> 32)};
}

template <typename Fraction>
void fillTable(const Axis &axis, int strip, ColumnTable<Fraction> &table) {
  int taps[stripWidth];
  for (int i = 0; i < stripWidth; ++i) {
    const Tap tap = tapFor(positionInside(axis, strip * stripWidth + i), table);
    taps[i] = tap.texel;
    table.fractions[i] = static_cast<Fraction>(tap.fraction);
  }
  table.base = *std::min_element(taps, taps + stripWidth);
  table.narrow = true;
  for (int group = 0; group < stripWidth / 8; ++group) {
    const auto [low, high] = std::minmax_element(taps + 8 * group, taps + 8 * group + 8);
    table.windows[group] = static_cast<std::uint16_t>(*low - table.base);
    table.narrow = table.narrow && *high + 1 - *low < 16;
  }
  for (int i = 0; i < stripWidth; ++i) table.taps[i] = static_cast<std::uint16_t>(taps[i] - table.base);
}

void fillTable(const Axis &axis, int strip, FloatColumnTable &table) {
  for (int i = 0; i < stripWidth; ++i) {
    const std::int64_t position = positionInside(axis, strip * stripWidth + i);
    table.taps[i] = FloatAccumulator::texel(position);
    table.fractions[i] = FloatAccumulator::fraction(position);
  }
  const auto spanOf = [&](int first, int count) {
    const auto [low, high] = std::minmax_element(table.taps + first, table.taps + first + count);
    return *high + 1 - *low;
  };
  table.narrow = true;
  for (int i = 0; i < stripWidth; i += 8) {
    table.windows[i / 8] = *std::min_element(table.taps + i, table.taps + i + 8);
    table.narrow = table.narrow && spanOf(i, 8) < 16;
  }
  for (int i = 0; i < stripWidth; i += 16) table.narrow = table.narrow && spanOf(i, 16) < 32;
}

template <typename Traits>
void findTaps(Copy<Traits> &copy) {
  ScaledTaps<Traits> &taps = copy.scaled;
  taps.columns.resize(static_cast<std::size_t>(stripCount(copy.x)));
  int strip = firstStrip(copy.x);
  for (auto &table : taps.columns) fillTable(copy.x, strip++, table);
  for (int y = copy.y.first; y < copy.y.end; ++y) {
    const int lower = Traits::texel(copy.y.position(y));
    std::vector<int> &rows = taps.texelRows;
    // The row before may have sampled one of the two or both.
    const int last = rows.empty() ? lower - 1 : rows.back();
    if (last != lower + 1) {
      if (last != lower) rows.push_back(lower);
      rows.push_back(lower + 1);
    }
    taps.lowerRows.push_back(static_cast<int>(rows.size()) - 2);
    taps.rowFractions.push_back(Traits::fraction(copy.y.position(y)));
  }
}

}  // namespace

template <typename Traits>
bool Flame<Traits>::reaches(const Quad &quad) const {
  // A strip extends up to stripWidth - 1 pixels beyond a copy's ends.
  constexpr int reach = TexturePlanes::marginX - stripWidth;
  const TapRange s = tapRange<Traits>(quad.x, quad.x.first, quad.x.end - 1);
  const TapRange t = tapRange<Traits>(quad.y, quad.y.first, quad.y.end - 1);
  return s.low >= -reach && s.high < planes.width() + reach && t.low >= -TexturePlanes::marginY &&
         t.high < planes.height() + TexturePlanes::marginY;
}

template <typename Traits>
void Flame<Traits>::add(const Quad &quad, const std::array<bool, 4> &mask) {
  Copy<Traits> copy;
  copy.x = quad.x;
  copy.y = quad.y;
  copy.isUnit = quad.x.isUnit() && quad.y.isUnit();
  for (int c = 0; c < 4; ++c) {
    const auto channel = static_cast<std::size_t>(c);
    const int plane = planes.planeOf(c);
    const auto tint = Traits::tint(quad.colour[channel]);
    if (!mask[channel] || Traits::vanishes(planes, plane, tint)) continue;
    if (planes.isUniform(plane)) {
      copy.constants[c] = Traits::constant(planes, plane, tint);
      copy.hasConstants = true;
    } else {
      copy.tints[c] = tint;
      copy.channels |= 1u << c;
    }
    channels |= 1u << c;
  }
  if (!copy.hasConstants && copy.channels == 0) return;
  if (copy.isUnit) {
    copy.shiftX = Traits::texel(quad.x.start) - quad.x.first;
    copy.shiftY = Traits::texel(quad.y.start) - quad.y.first;
    copy.fractionX = Traits::fraction(quad.x.start);
    copy.fractionY = Traits::fraction(quad.y.start);
  } else if (copy.channels != 0) {
    ++scaledCount;
  }
  bounds.push_back(boundsOf(copy));
  copies.push_back(std::move(copy));
}

template <typename Traits>
typename Flame<Traits>::Bounds Flame<Traits>::boundsOf(const Copy<Traits> &copy) const {
  Bounds all{copy.x.first, copy.x.end, copy.y.first, copy.y.end, copy.isUnit, copy.shiftX, copy.shiftY};
  if (!copy.isUnit || copy.hasConstants) return all;
  const Occupancy::Box &box = planes.occupancy().box();
  // Pixels beside the texture sample its edges.
  if (box.x0 > 0) all.x0 = std::max(all.x0, box.x0 - 1 - copy.shiftX);
  if (box.y0 > 0) all.y0 = std::max(all.y0, box.y0 - 1 - copy.shiftY);
  if (box.x1 < planes.width()) all.x1 = std::min(all.x1, box.x1 - copy.shiftX);
  if (box.y1 < planes.height()) all.y1 = std::min(all.y1, box.y1 - copy.shiftY);
  return all;
}

template <typename Traits>
void Flame<Traits>::prepare() {
  unsigned used = 0;
  for (const Copy<Traits> &copy : copies) used |= copy.channels;
  for (int c = 0; c < 4; ++c) {
    if (!(used & 1u << c)) continue;
    const int plane = planes.planeOf(c);
    auto group = std::find_if(groups.begin(), groups.end(), [&](const PlaneGroup &g) { return g.plane == plane; });
    if (group == groups.end()) {
      groups.push_back({plane, 0, {}, 0});
      group = groups.end() - 1;
    }
    group->channels[group->count++] = c;
    group->bits |= 1u << c;
  }
  if (scaledCount == 0) return;
  parallelFor(static_cast<int>(copies.size()), [&](int i) {
    auto &copy = copies[static_cast<std::size_t>(i)];
    if (!copy.isUnit && copy.channels != 0) findTaps(copy);
  });
}

template <typename Traits>
void Flame<Traits>::clear() {
  copies.clear();
  bounds.clear();
  groups.clear();
  channels = 0;
  scaledCount = 0;
}

template struct Flame<ByteAccumulator>;
template struct Flame<FloatAccumulator>;
template struct Flame<MixedAccumulator>;

}  // namespace pyrelux::soft
