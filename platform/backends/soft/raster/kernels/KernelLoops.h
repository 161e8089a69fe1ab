// The loops of the kernels, for the vector types that each instruction set supplies. Each Kernels*.cpp includes this
// file once, in an unnamed namespace, so that the linker never merges code for one instruction set with another's. For
// the same reason nothing here may call a library function.
//
// Each set supplies Words, a vector of wordLanes 16-bit lanes, and Floats, a vector of floatLanes floats.
//  - For Words: loadTexels (widens signed bytes), loadWords, storeWords, broadcastWords, + - &, addSaturated
//  (unsigned),
//    multiplyRounded: (a * b + 2^14) >> 15.
//  - For Floats: loadTexels (forces the load into a register; compilers would load again what crosses two cache lines),
//    loadFloats, storeFloats, broadcastFloats, - *, multiplyAdd(a, b, c): a * b + c, gatherFloats(row, taps).
//  - For both: sampleNarrow(row, columns, x), the samples of a narrow table for the lanes from pixel x on.

/// Blends from a towards b. With f = fraction / 128: a + ((f * (b - a) + 128) >> 8).
inline Words lerp(Words a, Words b, Words fraction) { return a + multiplyRounded(b - a, fraction); }
inline Floats lerp(Floats a, Floats b, Floats fraction) { return multiplyAdd(b - a, fraction, a); }

/// Samples pixel by pixel, for tables that are not narrow.
inline Words sampleWide(const std::int8_t *row, const LevelColumnTable &columns, int x) {
  alignas(64) std::uint16_t levels[wordLanes];
  for (int i = 0; i < wordLanes; ++i) {
    const std::int8_t *tap = row + columns.taps[x + i];
    const int level = tap[0] + ((columns.fractions[x + i] * (tap[1] - tap[0]) + 128) >> 8);
    levels[i] = static_cast<std::uint16_t>(level + 128);
  }
  return loadWords(levels);
}
inline Floats sampleWide(const float *row, const FloatColumnTable &columns, int x) {
  return lerp(gatherFloats(row, columns.taps + x), gatherFloats(row + 1, columns.taps + x),
              loadFloats(columns.fractions + x));
}

/// The operations in which levels and floats differ.
struct LevelLanes {
  using Vector = Words;
  using Texel = std::int8_t;
  using Target = LevelTarget;
  static constexpr int lanes = wordLanes;

  static Words load(const std::uint16_t *from) { return loadWords(from); }
  static void store(std::uint16_t *to, Words words) { storeWords(to, words); }
  static Words broadcast(std::int16_t value) { return broadcastWords(value); }
  static Words texels(const std::int8_t *from) { return loadTexels(from); }
  /// Adds the 128 that texels lack.
  static Words complete(Words value) { return value + broadcastWords(128); }
  static Words masked(Words value, Words mask) { return value & mask; }
  static Words plus(Words sum, Words value, Words tint) { return addSaturated(sum, multiplyRounded(value, tint)); }
};
struct FloatLanes {
  using Vector = Floats;
  using Texel = float;
  using Target = FloatTarget;
  static constexpr int lanes = floatLanes;

  static Floats load(const float *from) { return loadFloats(from); }
  static void store(float *to, Floats floats) { storeFloats(to, floats); }
  static Floats broadcast(float value) { return broadcastFloats(value); }
  static Floats texels(const float *from) { return loadTexels(from); }
  static Floats complete(Floats value) { return value; }
  static Floats masked(Floats value, Floats mask) { return value * mask; }
  static Floats plus(Floats sum, Floats value, Floats tint) { return multiplyAdd(value, tint, sum); }
};

/// The rows of a copy at its own size, from pixel (x, y) of the strip on.
template <typename Lanes>
struct UnitRows {
  using Vector = typename Lanes::Vector;

  template <typename Copy>
  UnitRows(const Copy &copy, std::ptrdiff_t rowStride, int x, int y)
      : row(copy.texels + y * rowStride + x),
        stride(rowStride),
        fractionX(Lanes::broadcast(copy.fractionX)),
        fractionY(Lanes::broadcast(copy.fractionY)),
        lower(sample()) {}

  /// Whether the vector at x lies in a half of the strip where the copy has nothing.
  template <typename Copy>
  static bool isEmpty(const Copy &copy, int x) {
    return Lanes::lanes <= halfStrip && !(copy.halves >> (x / halfStrip) & 1);
  }

  Vector next(int) {
    row += stride;
    const Vector upper = sample();
    const Vector value = lerp(lower, upper, fractionY);
    lower = upper;
    return Lanes::complete(value);
  }

  Vector sample() const { return lerp(Lanes::texels(row), Lanes::texels(row + 1), fractionX); }

  const typename Lanes::Texel *row;
  std::ptrdiff_t stride;
  Vector fractionX;
  Vector fractionY;
  Vector lower;
};

/// The rows of a copy at another size, from pixel (x, y) of the strip on.
template <typename Lanes, typename Copy>
struct ScaledRows {
  using Vector = typename Lanes::Vector;

  ScaledRows(const Copy &of, std::ptrdiff_t rowStride, int fromX, int fromY)
      : copy(of), stride(rowStride), x(fromX), tap(of.rowTaps[fromY]), lower(sample(tap)), upper(sample(tap + 1)) {}

  static bool isEmpty(const Copy &, int) { return false; }

  Vector next(int y) {
    // Reuses the rows of texels that the previous pixel row sampled; a magnified copy needs few new ones.
    const int wanted = copy.rowTaps[y];
    if (wanted != tap) {
      lower = wanted == tap + 1 ? upper : sample(wanted);
      upper = sample(wanted + 1);
      tap = wanted;
    }
    return lerp(lower, upper, Lanes::broadcast(copy.rowFractions[y]));
  }

  Vector sample(int texelRow) const {
    const typename Lanes::Texel *row = copy.texels + texelRow * stride;
    return copy.columns->narrow ? sampleNarrow(row, *copy.columns, x) : sampleWide(row, *copy.columns, x);
  }

  const Copy &copy;
  std::ptrdiff_t stride;
  int x;
  int tap;
  Vector lower;
  Vector upper;
};

/// The number of rows whose sums stay in registers while the kernel adds several copies to them.
constexpr int blockRows(int channels) {
  if (vectorRegisters >= 32) return channels < 4 ? 8 : 4;
  return channels == 1 ? 8 : channels < 4 ? 4 : 2;
}

template <typename Lanes, typename Rows, int channels, bool masked, int rows, typename Copy>
inline void addBlock(const Copy *copies, int count, std::ptrdiff_t stride, const typename Lanes::Target &target, int x,
                     int y) {
  using Vector = typename Lanes::Vector;
  Vector sums[rows][channels];
#pragma GCC unroll 8
  for (int r = 0; r < rows; ++r)
#pragma GCC unroll 4
    for (int c = 0; c < channels; ++c) sums[r][c] = Lanes::load(target.sums[c] + (y + r) * stripWidth + x);
  for (int i = 0; i < count; ++i) {
    if (Rows::isEmpty(copies[i], x)) continue;
    Vector tints[channels];
#pragma GCC unroll 4
    for (int c = 0; c < channels; ++c) tints[c] = Lanes::broadcast(copies[i].tints[c]);
    Rows copyRows(copies[i], stride, x, y);
#pragma GCC unroll 8
    for (int r = 0; r < rows; ++r) {
      Vector value = copyRows.next(y + r);
      if (masked) value = Lanes::masked(value, Lanes::load(target.mask + x));
#pragma GCC unroll 4
      for (int c = 0; c < channels; ++c) sums[r][c] = Lanes::plus(sums[r][c], value, tints[c]);
    }
  }
#pragma GCC unroll 8
  for (int r = 0; r < rows; ++r)
#pragma GCC unroll 4
    for (int c = 0; c < channels; ++c) Lanes::store(target.sums[c] + (y + r) * stripWidth + x, sums[r][c]);
}

template <typename Lanes, typename Rows, int channels, bool masked, typename Copy>
void addStrip(const Copy *copies, int count, std::ptrdiff_t stride, const typename Lanes::Target &target) {
  constexpr int block = blockRows(channels);
  int y = 0;
  for (; y + block <= target.rows; y += block)
    for (int x = 0; x < stripWidth; x += Lanes::lanes)
      addBlock<Lanes, Rows, channels, masked, block>(copies, count, stride, target, x, y);
  for (; y < target.rows; ++y)
    for (int x = 0; x < stripWidth; x += Lanes::lanes)
      addBlock<Lanes, Rows, channels, masked, 1>(copies, count, stride, target, x, y);
}

template <int number>
struct Channels {
  static constexpr int count = number;
};

template <typename Lanes, typename Rows, typename Copy>
void add(const Copy *copies, int count, std::ptrdiff_t stride, const typename Lanes::Target &target) {
  const auto addTo = [&](auto channels) {
    constexpr int n = decltype(channels)::count;
    if (target.mask)
      addStrip<Lanes, Rows, n, true>(copies, count, stride, target);
    else
      addStrip<Lanes, Rows, n, false>(copies, count, stride, target);
  };
  switch (target.channels) {
    case 1:
      return addTo(Channels<1>());
    case 2:
      return addTo(Channels<2>());
    case 3:
      return addTo(Channels<3>());
    case 4:
      return addTo(Channels<4>());
    default:
      return;
  }
}

// The loops below suit the compiler's vectoriser.

inline bool isSaturated(const std::uint16_t *sums, int rows) {
  std::uint16_t smallest = 255;
  for (int i = 0; i < rows * stripWidth; ++i) smallest = sums[i] < smallest ? sums[i] : smallest;
  return smallest == 255;
}

template <bool blank>
inline void putLevelsLoop(const std::uint16_t *red, const std::uint16_t *green, const std::uint16_t *blue,
                          const std::uint16_t *alpha, const std::uint16_t *constants, int width, std::uint8_t *pixels) {
  const std::uint32_t r = constants[0], g = constants[1], b = constants[2], a = constants[3];
  for (int x = 0; x < width; ++x) {
    std::uint32_t held = 0;
    if (!blank) __builtin_memcpy(&held, pixels + 4 * x, 4);
    const auto cut = [](std::uint32_t sum) { return sum < 255 ? sum : 255; };
    // Red comes first in memory, so it is the lowest byte: all supported processors are little-endian.
    held = cut(red[x] + r + (held & 255)) | cut(green[x] + g + (held >> 8 & 255)) << 8 |
           cut(blue[x] + b + (held >> 16 & 255)) << 16 | cut(alpha[x] + a + (held >> 24)) << 24;
    __builtin_memcpy(pixels + 4 * x, &held, 4);
  }
}

inline void putLevels(const std::uint16_t *const sums[4], const std::uint16_t constants[4], int width, bool blank,
                      std::uint8_t *pixels) {
  if (blank)
    putLevelsLoop<true>(sums[0], sums[1], sums[2], sums[3], constants, width, pixels);
  else
    putLevelsLoop<false>(sums[0], sums[1], sums[2], sums[3], constants, width, pixels);
}

template <bool blank>
inline void putFloatsLoop(const float *red, const float *green, const float *blue, const float *alpha,
                          const float *constants, int width, float *pixels) {
  const float r = constants[0], g = constants[1], b = constants[2], a = constants[3];
  for (int x = 0; x < width; ++x) {
    float *pixel = pixels + 4 * x;
    pixel[0] = (blank ? 0.0f : pixel[0]) + red[x] + r;
    pixel[1] = (blank ? 0.0f : pixel[1]) + green[x] + g;
    pixel[2] = (blank ? 0.0f : pixel[2]) + blue[x] + b;
    pixel[3] = (blank ? 0.0f : pixel[3]) + alpha[x] + a;
  }
}

inline void putFloats(const float *const sums[4], const float constants[4], int width, bool blank, float *pixels) {
  if (blank)
    putFloatsLoop<true>(sums[0], sums[1], sums[2], sums[3], constants, width, pixels);
  else
    putFloatsLoop<false>(sums[0], sums[1], sums[2], sums[3], constants, width, pixels);
}

/// The instruction set's kernels under its name.
constexpr Kernels kernelsNamed(const char *name) {
  return {name,
          add<LevelLanes, UnitRows<LevelLanes>>,
          add<LevelLanes, ScaledRows<LevelLanes, ScaledLevels>>,
          add<FloatLanes, UnitRows<FloatLanes>>,
          add<FloatLanes, ScaledRows<FloatLanes, ScaledFloats>>,
          isSaturated,
          putLevels,
          putFloats};
}
