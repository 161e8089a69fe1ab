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

constexpr unsigned allParts = (1u << partsOfStrip) - 1;
constexpr unsigned firstHalves = allParts & 0x55555555u;

/// All parts of the strips that have a pixel from `first` to `end` - 1 of the tile.
std::uint32_t stripsBetween(int first, int end) {
  const int before = first / stripWidth * partsOfStrip, after = 32 - ((end - 1) / stripWidth + 1) * partsOfStrip;
  return ~0u << before & ~0u >> after;
}

/// From a strip's first pixel to a part's.
std::ptrdiff_t offsetOf(int part, std::ptrdiff_t stride) { return part / 2 * partRows * stride + part % 2 * halfStrip; }

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
    std::uint32_t parts = ~0u;
    if (bounds.isUnit) parts = flame_.parts.at(x0_ + bounds.shiftX, y0_ + bounds.shiftY);
    if (parts == 0) continue;
    const Copy<Traits> &copy = flame_.copies[i];
    const int x0 = std::max(copy.x.first, x0_), x1 = std::min(copy.x.end, x1_);
    const int y0 = std::max(copy.y.first, y0_), y1 = std::min(copy.y.end, y1_);
    if (x0 >= x1 || y0 >= y1) continue;
    parts &= stripsBetween(x0 - x0_, x1 - x0_);
    if (!bounds.isUnit && !isFull_) parts &= occupiedStrips(copy, x0, x1, y0, y1);
    if (parts == 0) continue;
    if (copy.hasConstants) noteConstants({&copy, x0, x1, y0, y1, parts});
    if ((flame_.channels & ~full_) == 0) return;
    if (copy.channels != 0) parts_.push_back({&copy, x0, x1, y0, y1, parts});
  }
}

template <typename Traits>
std::uint32_t FlameTile<Traits>::occupiedStrips(const Copy<Traits> &copy, int x0, int x1, int y0, int y1) const {
  const TapRange rows = copy.rowRange(y0, y1 - 1);
  const Occupancy::Band band = flame_.planes.occupancy().band(rows.low, rows.high);
  std::uint32_t parts = 0;
  for (int strip = 0; strip < strips; ++strip) {
    const int left = x0_ + strip * stripWidth;
    const int from = std::max(x0, left), to = std::min(x1, left + stripWidth);
    if (from >= to) continue;
    const TapRange columns = copy.columnRange(from, to - 1);
    if (band.any(columns.low, columns.high)) parts |= allParts << partsOfStrip * strip;
  }
  return parts;
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
  const int left = x0_ + strip * stripWidth, right = std::min(left + stripWidth, x1_);
  typename Traits::Target target;  // once there is anything to add
  const bool joinHalves = Traits::partColumns() == stripWidth;
  const unsigned all = ((1u << (y1_ - y0_ + partRows - 1) / partRows * 2) - 1) & (joinHalves ? firstHalves : allParts);
  unsigned open = all;  // the parts that are not saturated
  for (const Part &part : parts_) {
    unsigned wanted = part.parts >> partsOfStrip * strip & allParts;
    if (wanted == 0 || !(part.copy->channels & group.bits)) continue;
    if (target.rows == 0) target = targetOf(strip, group, y0_, y1_);
    const bool isWhole = part.x0 <= left && part.x1 >= right && part.y0 == y0_ && part.y1 == y1_;
    if (!isWhole) {
      addAlone(strip, group, part);
      continue;
    }
    if (!part.copy->isUnit) {
      scaled_.push(scaledSource(strip, group, part));
      if (scaled_.isFull() && saturates(scaled_, target)) open = 0;
    } else {
      if (joinHalves) wanted |= wanted >> 1;
      wanted &= open;
      if (wanted == 0) continue;
      const auto source = unitSource(strip, group, part);
      if (wanted == all) {
        units_.push(source);
        if (units_.isFull() && saturates(units_, target)) open = 0;
      } else {
        for (; wanted; wanted &= wanted - 1) {
          const int number = __builtin_ctz(wanted);
          auto &queue = unitsOfPart_[number];
          queue.push(source);
          queue.sources[queue.count - 1].texels += offsetOf(number, flame_.planes.stride());
          if (queue.isFull() && saturates(queue, partOf(target, number))) open &= ~(1u << number);
        }
      }
    }
    if (open == 0) break;
  }
  flush(units_, target);
  flush(scaled_, target);
  for (int number = 0; number < partsOfStrip; ++number) flush(unitsOfPart_[number], partOf(target, number));
}

template <typename Traits>
template <typename Source>
void FlameTile<Traits>::flush(Queue<Source> &queue, const typename Traits::Target &target) {
  if (queue.count > 0) Traits::add(queue.sources, queue.count, flame_.planes.stride(), target);
  queue.count = 0;
}

template <typename Traits>
template <typename Source>
bool FlameTile<Traits>::saturates(Queue<Source> &queue, const typename Traits::Target &target) {
  flush(queue, target);
  return Traits::isSaturated(target);
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
typename Traits::Target FlameTile<Traits>::targetOf(int strip, const PlaneGroup &group, int y0, int y1) {
  typename Traits::Target target;
  target.channels = group.count;
  for (int i = 0; i < group.count; ++i) target.sums[i] = sumsOf(group.channels[i], strip) + (y0 - y0_) * stripWidth;
  target.rows = y1 - y0;
  return target;
}

template <typename Traits>
typename Traits::Target FlameTile<Traits>::partOf(const typename Traits::Target &strip, int part) const {
  typename Traits::Target target = strip;
  for (int i = 0; i < strip.channels; ++i) target.sums[i] += offsetOf(part, stripWidth);
  target.columns = Traits::partColumns();
  target.rows = std::min(partRows, strip.rows - part / 2 * partRows);
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
  const auto isEmpty = [&](int x) { return !used_[(x - x0_) / stripWidth] && !anyConstant; };
  for (int x = x0_, end; blank && x < x1_; x = end + stripWidth) {
    for (end = x; end < x1_ && isEmpty(end);) end += stripWidth;
    const int count = std::min(end, x1_) - x;
    Traits::clear(Traits::row(target, y0_) + 4 * x, count, y1_ - y0_, std::ptrdiff_t{4} * target.width());
  }
  for (int y = y0_; y < y1_; ++y)
    for (int x = x0_; x < x1_; x += stripWidth) {
      if (isEmpty(x)) continue;
      const int strip = (x - x0_) / stripWidth;
      const Sum *rows[4];
      for (int c = 0; c < 4; ++c) rows[c] = used_[strip] >> c & 1 ? sums_[c][strip] + (y - y0_) * stripWidth : zeros;
      Traits::put(rows, constants_, std::min(stripWidth, x1_ - x), blank, Traits::row(target, y) + 4 * x);
    }
}

template class FlameTile<ByteAccumulator>;
template class FlameTile<FloatAccumulator>;
template class FlameTile<MixedAccumulator>;

}  // namespace pyrelux::soft
