#include "FlameSum.h"

#include <algorithm>
#include <cstring>

#include "Arithmetic.h"
#include "FlameFft.h"
#include "Kernels.h"
#include "Reference.h"
#include "TexturePlanes.h"
#include "ThreadPool.h"

namespace pyrelux::soft {

namespace {

/// What differs between 8-bit and float targets.
struct LevelSums {
  using Sum = std::uint16_t;
  using Tint = std::int16_t;
  using Target = LevelTarget;
  static constexpr int tileWidth = 128;
  static constexpr unsigned unitPlanes = TexturePlanes::Levels;
  static constexpr unsigned scaledPlanes = TexturePlanes::SignedLevels;
  static constexpr Sum maskOn = 0xFFFF;

  static Tint tint(float colour) { return static_cast<Tint>(tintOf(colour)); }
  /// A uniform plane's part.
  static Sum constant(const TexturePlanes &planes, int plane, Tint tint) {
    return static_cast<Sum>(modulate(planes.largestLevel(plane), tint));
  }
  static bool vanishes(const TexturePlanes &planes, int plane, Tint tint) {
    return modulate(planes.largestLevel(plane), tint) == 0;
  }
  static Sum plus(Sum a, Sum b) { return static_cast<Sum>(std::min(a + b, 0xFFFF)); }
};

struct FloatSums {
  using Sum = float;
  using Tint = float;
  using Target = FloatTarget;
  static constexpr int tileWidth = 64;
  static constexpr unsigned unitPlanes = TexturePlanes::Floats;
  static constexpr unsigned scaledPlanes = TexturePlanes::Floats;
  static constexpr Sum maskOn = 1.0f;

  static Tint tint(float colour) { return colour; }
  static Sum constant(const TexturePlanes &planes, int plane, Tint tint) { return planes.largestFloat(plane) * tint; }
  static bool vanishes(const TexturePlanes &, int, Tint tint) { return tint == 0.0f; }
  static Sum plus(Sum a, Sum b) { return a + b; }
};

constexpr int tileHeight = 32;
/// How many scaled copies are drawn before the sums are written out: their column tables take memory.
constexpr std::size_t scaledBatch = 512;

/// A quad made ready: which planes it takes, and with what.
template <typename Kind>
struct Copy {
  struct Group {
    int plane;
    int count = 0;
    int channels[4];
    typename Kind::Tint tints[4];
  };

  Axis x;
  Axis y;
  int groupCount = 0;
  Group groups[4];
  bool hasConstants = false;
  typename Kind::Sum constants[4] = {};
  std::vector<ColumnTable> columns;     ///< of a scaled copy: for each strip that it touches
  std::vector<std::int32_t> floatTaps;  ///< the same for floats, stripWidth for each strip
  std::vector<float> floatFractions;

  bool isUnit() const { return x.isUnit() && y.isUnit(); }
  bool isEmpty() const { return groupCount == 0 && !hasConstants; }
};

/// The first and last tap along an axis, for pixels first .. last.
struct TapRange {
  int low;
  int high;  ///< the right neighbour of the highest
};

TapRange tapRange(const Axis &axis, int first, int last) {
  const int a = tapAt(axis.position(first)).texel;
  const int b = tapAt(axis.position(last)).texel;
  return {std::min(a, b), std::max(a, b) + 1};
}

bool fitsMargins(const Quad &quad, const TexturePlanes &planes) {
  // Strips reach up to stripWidth - 1 pixels past a copy's ends.
  constexpr int reach = TexturePlanes::marginX - stripWidth;
  const TapRange s = tapRange(quad.x, quad.x.first, quad.x.end - 1);
  const TapRange t = tapRange(quad.y, quad.y.first, quad.y.end - 1);
  return s.low >= -reach && s.high < planes.width() + reach && t.low >= -TexturePlanes::marginY &&
         t.high < planes.height() + TexturePlanes::marginY;
}

template <typename Kind>
Copy<Kind> makeCopy(const Quad &quad, const std::array<bool, 4> &mask, const TexturePlanes &planes) {
  Copy<Kind> copy;
  copy.x = quad.x;
  copy.y = quad.y;
  for (int c = 0; c < 4; ++c) {
    const auto channel = static_cast<std::size_t>(c);
    const int plane = planes.planeOf(c);
    const auto tint = Kind::tint(quad.colour[channel]);
    if (!mask[channel] || Kind::vanishes(planes, plane, tint)) continue;
    if (planes.isUniform(plane)) {
      copy.constants[c] = Kind::constant(planes, plane, tint);
      copy.hasConstants = true;
      continue;
    }
    int g = 0;
    while (g < copy.groupCount && copy.groups[g].plane != plane) ++g;
    auto &group = copy.groups[g];
    if (g == copy.groupCount) {
      ++copy.groupCount;
      group.plane = plane;
    }
    group.channels[group.count] = c;
    group.tints[group.count] = tint;
    ++group.count;
  }
  return copy;
}

void fillColumnTable(const Axis &axis, int strip, ColumnTable &table) {
  int taps[stripWidth];
  for (int i = 0; i < stripWidth; ++i) {
    // Pixels beside the copy are masked; they sample what its ends sample.
    const int pixel = std::clamp(strip * stripWidth + i, axis.first, axis.end - 1);
    const Tap tap = tapAt(axis.position(pixel));
    taps[i] = tap.texel;
    table.fractions[i] = static_cast<std::uint8_t>(tap.fraction);
  }
  const int base = *std::min_element(taps, taps + stripWidth);
  table.narrow = true;
  for (int group = 0; group < stripWidth / 8; ++group) {
    const auto [low, high] = std::minmax_element(taps + 8 * group, taps + 8 * group + 8);
    table.windows[group] = static_cast<std::uint16_t>(*low - base);
    table.narrow = table.narrow && *high + 1 - *low < 16;
  }
  for (int i = 0; i < stripWidth; ++i) {
    table.taps[i] = static_cast<std::uint16_t>(taps[i] - base);
    const int inWindow = table.taps[i] - table.windows[i / 8];
    const int fraction = table.fractions[i];
    table.pairs[2 * i] = static_cast<std::uint8_t>(inWindow);
    // A weight of 256 does not fit a byte: where there is no fraction, one texel is taken twice.
    table.pairs[2 * i + 1] = static_cast<std::uint8_t>(fraction ? inWindow + 1 : inWindow);
    table.weights[2 * i] = static_cast<std::uint8_t>(fraction ? 256 - fraction : 255);
    table.weights[2 * i + 1] = static_cast<std::uint8_t>(fraction ? fraction : 1);
  }
}

int firstStrip(const Axis &axis) { return axis.first / stripWidth; }
int stripCount(const Axis &axis) { return (axis.end - 1) / stripWidth - firstStrip(axis) + 1; }

void makeTables(Copy<LevelSums> &copy) {
  copy.columns.resize(static_cast<std::size_t>(stripCount(copy.x)));
  for (int i = 0; i < stripCount(copy.x); ++i)
    fillColumnTable(copy.x, firstStrip(copy.x) + i, copy.columns[static_cast<std::size_t>(i)]);
}

void makeTables(Copy<FloatSums> &copy) {
  const int first = firstStrip(copy.x) * stripWidth;
  const int count = stripCount(copy.x) * stripWidth;
  copy.floatTaps.resize(static_cast<std::size_t>(count));
  copy.floatFractions.resize(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    const std::int64_t position = copy.x.position(std::clamp(first + i, copy.x.first, copy.x.end - 1));
    copy.floatTaps[static_cast<std::size_t>(i)] = static_cast<std::int32_t>(position >> 32);
    copy.floatFractions[static_cast<std::size_t>(i)] =
        static_cast<float>(position & (Axis::one - 1)) / static_cast<float>(Axis::one);
  }
}

/// The sums of one tile of the target, a plane for each channel.
template <typename Kind>
class Tile {
 public:
  using Sum = typename Kind::Sum;

  Tile(int x0, int y0, int x1, int y1) : x0_(x0), y0_(y0), x1_(x1), y1_(y1) {}

  void add(const Copy<Kind> &copy, const TexturePlanes &planes) {
    const int x0 = std::max(copy.x.first, x0_), x1 = std::min(copy.x.end, x1_);
    const int y0 = std::max(copy.y.first, y0_), y1 = std::min(copy.y.end, y1_);
    if (x0 >= x1 || y0 >= y1) return;
    const TapRange rows = tapRange(copy.y, y0, y1 - 1);
    const auto anything = [&](int from, int to) {
      const TapRange columns = tapRange(copy.x, from, to - 1);
      return planes.occupancy().any(columns.low, rows.low, columns.high, rows.high);
    };
    if (!anything(x0, x1)) return;
    if (copy.hasConstants) addConstants(copy, x0, y0, x1, y1);
    if (copy.groupCount == 0) return;

    if (!copy.isUnit()) prepareRows(copy, y0, y1);
    for (int strip = x0 / stripWidth; strip <= (x1 - 1) / stripWidth; ++strip) {
      const int left = strip * stripWidth;
      const int from = std::max(left, x0), to = std::min(left + stripWidth, x1);
      if (!anything(from, to)) continue;
      alignas(64) Sum mask[stripWidth];
      const bool whole = to - from == stripWidth;
      if (!whole)
        for (int i = 0; i < stripWidth; ++i) mask[i] = left + i >= from && left + i < to ? Kind::maskOn : Sum(0);
      for (int g = 0; g < copy.groupCount; ++g) {
        const auto &group = copy.groups[g];
        typename Kind::Target target;
        target.channels = group.count;
        for (int i = 0; i < group.count; ++i) {
          target.sums[i] = sumsAt(group.channels[i], left, y0);
          target.tints[i] = group.tints[i];
        }
        target.stride = Kind::tileWidth;
        target.rows = y1 - y0;
        target.mask = whole ? nullptr : mask;
        if (copy.isUnit())
          addUnit(copy, group.plane, left, y0, planes, target);
        else
          addScaled(copy, group.plane, strip, planes, target);
      }
    }
  }

  /// Adds the sums to the target's pixels, or, when that is blank, puts them there.
  void writeTo(Pixels &target, bool blank) const {
    bool any = false;
    for (int c = 0; c < 4; ++c) any = any || used_[c] || constants_[c] != 0;
    if (!any && !blank) return;
    for (int y = y0_; y < y1_; ++y) {
      if constexpr (std::is_same_v<Kind, LevelSums>)
        writeRow(target.byteRow(y) + 4 * x0_, y, any, blank);
      else
        writeRow(target.floatRow(y) + 4 * x0_, y, any, blank);
    }
  }

 private:
  static constexpr int size = Kind::tileWidth * tileHeight;

  Sum *sumsAt(int channel, int x, int y) {
    if (!used_[channel]) {
      std::fill_n(sums_[channel], size, Sum(0));
      used_[channel] = true;
    }
    return sums_[channel] + (y - y0_) * Kind::tileWidth + (x - x0_);
  }

  void addConstants(const Copy<Kind> &copy, int x0, int y0, int x1, int y1) {
    const bool wholeTile = x0 == x0_ && x1 == x1_ && y0 == y0_ && y1 == y1_;
    for (int c = 0; c < 4; ++c) {
      const Sum constant = copy.constants[c];
      if (constant == Sum(0)) continue;
      if (wholeTile) {
        constants_[c] = Kind::plus(constants_[c], constant);
        continue;
      }
      for (int y = y0; y < y1; ++y) {
        Sum *sum = sumsAt(c, x0, y);
        for (int i = 0; i < x1 - x0; ++i) sum[i] = Kind::plus(sum[i], constant);
      }
    }
  }

  void prepareRows(const Copy<LevelSums> &copy, int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      const Tap tap = tapAt(copy.y.position(y));
      rowTaps_[y - y0] = tap.texel;
      levelRowFractions_[y - y0] = static_cast<std::int16_t>(tap.fraction << 7);
    }
  }
  void prepareRows(const Copy<FloatSums> &copy, int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      const std::int64_t position = copy.y.position(y);
      rowTaps_[y - y0] = static_cast<int>(position >> 32);
      floatRowFractions_[y - y0] = static_cast<float>(position & (Axis::one - 1)) / static_cast<float>(Axis::one);
    }
  }

  static void addUnit(const Copy<LevelSums> &copy, int plane, int left, int y0, const TexturePlanes &planes,
                      const LevelTarget &target) {
    const Tap s = tapAt(copy.x.position(left));
    const Tap t = tapAt(copy.y.position(y0));
    kernels().unitLevels({planes.levels(plane, s.texel, t.texel), planes.stride(), s.fraction, t.fraction}, target);
  }
  static void addUnit(const Copy<FloatSums> &copy, int plane, int left, int y0, const TexturePlanes &planes,
                      const FloatTarget &target) {
    const std::int64_t s = copy.x.position(left);
    const std::int64_t t = copy.y.position(y0);
    const auto fraction = [](std::int64_t position) {
      return static_cast<float>(position & (Axis::one - 1)) / static_cast<float>(Axis::one);
    };
    kernels().unitFloats({planes.floats(plane, static_cast<int>(s >> 32), static_cast<int>(t >> 32)), planes.stride(),
                          fraction(s), fraction(t)},
                         target);
  }

  void addScaled(const Copy<LevelSums> &copy, int plane, int strip, const TexturePlanes &planes,
                 const LevelTarget &target) const {
    const int index = strip - firstStrip(copy.x);
    const int left = std::clamp(strip * stripWidth, copy.x.first, copy.x.end - 1);
    const int right = std::clamp(strip * stripWidth + stripWidth - 1, copy.x.first, copy.x.end - 1);
    const int base = tapRange(copy.x, left, right).low;
    kernels().scaledLevels({planes.signedLevels(plane, base, 0), planes.stride(),
                            &copy.columns[static_cast<std::size_t>(index)], rowTaps_, levelRowFractions_},
                           target);
  }
  void addScaled(const Copy<FloatSums> &copy, int plane, int strip, const TexturePlanes &planes,
                 const FloatTarget &target) const {
    const auto offset = static_cast<std::size_t>((strip - firstStrip(copy.x)) * stripWidth);
    kernels().scaledFloats({planes.floats(plane, 0, 0), planes.stride(), copy.floatTaps.data() + offset,
                            copy.floatFractions.data() + offset, rowTaps_, floatRowFractions_},
                           target);
  }

  template <typename Sample>
  void writeRow(Sample *pixels, int y, bool any, bool blank) const {
    const int width = x1_ - x0_;
    if (!any) {
      std::fill_n(pixels, 4 * width, Sample(0));
      return;
    }
    // A channel without sums of its own reads a row of zeros.
    static constexpr Sum zeros[Kind::tileWidth] = {};
    const auto row = [&](int c) { return used_[c] ? sums_[c] + (y - y0_) * Kind::tileWidth : zeros; };
    if (blank)
      interleave<true>(pixels, width, row(0), row(1), row(2), row(3));
    else
      interleave<false>(pixels, width, row(0), row(1), row(2), row(3));
  }

  // Both are written for the compiler to make vectors of.
  template <bool blank>
  void interleave(std::uint8_t *pixels, int width, const Sum *red, const Sum *green, const Sum *blue,
                  const Sum *alpha) const {
    const std::uint32_t constants[4] = {constants_[0], constants_[1], constants_[2], constants_[3]};
    for (int x = 0; x < width; ++x) {
      std::uint32_t held = 0;
      if (!blank) std::memcpy(&held, pixels + 4 * x, 4);
      const auto sum = [&](std::uint32_t level, int c) {
        const std::uint32_t value = level + constants[c] + (held >> (8 * c) & 255);
        return (value < 255 ? value : 255) << (8 * c);
      };
      held = sum(red[x], 0) | sum(green[x], 1) | sum(blue[x], 2) | sum(alpha[x], 3);
      std::memcpy(pixels + 4 * x, &held, 4);
    }
  }
  template <bool blank>
  void interleave(float *pixels, int width, const float *red, const float *green, const float *blue,
                  const float *alpha) const {
    for (int x = 0; x < width; ++x) {
      float *pixel = pixels + 4 * x;
      pixel[0] = (blank ? 0.0f : pixel[0]) + red[x] + constants_[0];
      pixel[1] = (blank ? 0.0f : pixel[1]) + green[x] + constants_[1];
      pixel[2] = (blank ? 0.0f : pixel[2]) + blue[x] + constants_[2];
      pixel[3] = (blank ? 0.0f : pixel[3]) + alpha[x] + constants_[3];
    }
  }

  int x0_, y0_, x1_, y1_;
  bool used_[4] = {};
  Sum constants_[4] = {};
  alignas(64) Sum sums_[4][size];
  int rowTaps_[tileHeight];
  std::int16_t levelRowFractions_[tileHeight];
  float floatRowFractions_[tileHeight];
};

/// Draws copies, and the quads that the planes do not reach.
template <typename Kind>
void drawCopies(const std::vector<Copy<Kind>> &copies, const Pass &rest, const TexturePlanes &planes, Pixels &target,
                bool blank) {
  const int columns = (target.width() + Kind::tileWidth - 1) / Kind::tileWidth;
  const int rows = (target.height() + tileHeight - 1) / tileHeight;
  parallelFor(columns * rows, [&](int index) {
    const int x0 = index % columns * Kind::tileWidth, y0 = index / columns * tileHeight;
    const int x1 = std::min(x0 + Kind::tileWidth, target.width()), y1 = std::min(y0 + tileHeight, target.height());
    Tile<Kind> tile(x0, y0, x1, y1);
    for (const Copy<Kind> &copy : copies) tile.add(copy, planes);
    tile.writeTo(target, blank);
    drawByReference(rest, target, x0, y0, x1, y1);
  });
}

/// Draws what is better not drawn copy by copy, and returns the rest.
template <typename Kind>
std::vector<Quad> drawManyAtOnce(const Pass &pass, const TexturePlanes &planes, Pixels &target, bool &blank) {
  if constexpr (std::is_same_v<Kind, FloatSums>)
    return addByFft(pass, planes, target, blank);
  else
    return pass.quads;  // every copy is rounded and saturates on its own
}

template <typename Kind>
void addFlameOf(const Pass &pass, Pixels &target, bool blank) {
  unsigned wanted = 0;
  for (const Quad &quad : pass.quads)
    wanted |= quad.x.isUnit() && quad.y.isUnit() ? Kind::unitPlanes : Kind::scaledPlanes;
  const TexturePlanes planes(*pass.texture, wanted);
  const std::vector<Quad> quads = drawManyAtOnce<Kind>(pass, planes, target, blank);

  Pass rest = pass;
  rest.quads.clear();
  std::vector<Copy<Kind>> copies;
  std::size_t scaled = 0;
  const auto drawSoFar = [&] {
    parallelFor(static_cast<int>(copies.size()), [&](int i) {
      auto &copy = copies[static_cast<std::size_t>(i)];
      if (!copy.isUnit() && copy.groupCount > 0) makeTables(copy);
    });
    drawCopies(copies, rest, planes, target, blank);
    blank = false;
    copies.clear();
    rest.quads.clear();
    scaled = 0;
  };
  for (const Quad &quad : quads) {
    if (!fitsMargins(quad, planes)) {
      rest.quads.push_back(quad);
      continue;
    }
    Copy<Kind> copy = makeCopy<Kind>(quad, pass.mask, planes);
    if (copy.isEmpty()) continue;
    if (!copy.isUnit() && ++scaled > scaledBatch) drawSoFar();
    copies.push_back(std::move(copy));
  }
  drawSoFar();
}

}  // namespace

bool isFlame(const Pass &pass) { return pass.texture && pass.filter == Filter::Linear && pass.blend == Blend::Add; }

void addFlame(const Pass &pass, Pixels &target, bool blank) {
  if (target.samples() == Samples::Byte)
    addFlameOf<LevelSums>(pass, target, blank);
  else
    addFlameOf<FloatSums>(pass, target, blank);
}

}  // namespace pyrelux::soft
