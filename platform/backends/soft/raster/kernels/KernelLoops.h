// The loops of the kernels, for the vector types that each instruction set supplies. Each Kernels*.cpp includes this
// file once, in an unnamed namespace, so that the linker never merges code for one instruction set with another's. For
// the same reason nothing here may call a library function.
//
// Each set supplies Words, a vector of wordLanes 16-bit lanes, and Floats, a vector of floatLanes floats.
//  - For Words: loadTexels (widens signed bytes), loadWords, storeWords, broadcastWords, broadcastPairs (the
//    words of a 32-bit number by turns), + - &, addSaturated (unsigned), multiplyRounded: (a * b + 2^14) >> 15.
//  - For Floats: loadTexels (forces the load into a register; compilers would load again what crosses two cache lines),
//    loadFloats, storeFloats, streamFloats (stores to an aligned address past the caches, if it can; other threads
//    see it after finishStreams), broadcastFloats, - *, multiplyAdd(a, b, c): a * b + c.
//  - shuffles: whether it picks texels out of a window. Then narrowSampler(columns, x) returns, for each kind of table,
//  an
//    object that holds the table of the lanes from pixel x on, and samples them from a row of texels when called.

/// Blends from a towards b. With f = fraction / 128: a + ((f * (b - a) + 128) >> 8).
inline Words lerp(Words a, Words b, Words fraction) { return a + multiplyRounded(b - a, fraction); }
inline Floats lerp(Floats a, Floats b, Floats fraction) { return multiplyAdd(b - a, fraction, a); }

/// Samples a row pixel by pixel.
inline void sampleWide(const std::int8_t *row, const LevelColumnTable &columns, std::uint16_t *samples) {
  for (int i = 0; i < stripWidth; ++i) {
    const std::int8_t *tap = row + columns.taps[i];
    const int level = tap[0] + ((columns.fractions[i] * (tap[1] - tap[0]) + 128) >> 8);
    samples[i] = static_cast<std::uint16_t>(level + 128);
  }
}
inline void sampleWide(const std::uint8_t *row, const MixedColumnTable &columns, float *samples) {
  for (int i = 0; i < stripWidth; ++i) {
    const std::uint8_t *tap = row + columns.taps[i];
    samples[i] = static_cast<float>(tap[0] * mixedUnit + columns.fractions[i] * (tap[1] - tap[0]));
  }
}
inline void sampleWide(const float *row, const FloatColumnTable &columns, float *samples) {
  for (int i = 0; i < stripWidth; ++i) {
    const float *tap = row + columns.taps[i];
    samples[i] = tap[0] + columns.fractions[i] * (tap[1] - tap[0]);
  }
}

/// The operations in which levels and floats differ.
struct LevelLanes {
  using Vector = Words;
  using Texel = std::int8_t;
  using Sum = std::uint16_t;
  using Fraction = std::int16_t;
  using WideFraction = std::uint32_t;  ///< a fraction twice: two words are broadcast faster than one
  using Target = LevelTarget;
  static constexpr int lanes = wordLanes;
  static constexpr bool weighs = false;

  static Words load(const std::uint16_t *from) { return loadWords(from); }
  static void store(std::uint16_t *to, Words words) { storeWords(to, words); }
  static Words broadcast(std::int16_t value) { return broadcastWords(value); }
  static Words broadcastWide(std::uint32_t twice) { return broadcastPairs(twice); }
  static std::uint32_t widen(std::int16_t value) { return static_cast<std::uint16_t>(value) * 0x10001u; }
  static Words texels(const std::int8_t *from) { return loadTexels(from); }
  /// Adds the 128 that texels lack.
  static Words complete(Words value) { return value + broadcastWords(128); }
  static Words masked(Words value, Words mask) { return value & mask; }
  static Words plus(Words sum, Words value, Words tint) { return addSaturated(sum, multiplyRounded(value, tint)); }
};
struct FloatLanes {
  using Vector = Floats;
  using Texel = float;
  using Sum = float;
  using Fraction = float;
  using WideFraction = float;
  using Target = FloatTarget;
  static constexpr int lanes = floatLanes;
  static constexpr bool weighs = true;  ///< sums are not rounded, see Weighed

  static Floats load(const float *from) { return loadFloats(from); }
  static void store(float *to, Floats floats) { storeFloats(to, floats); }
  static Floats broadcast(float value) { return broadcastFloats(value); }
  static Floats broadcastWide(float value) { return broadcastFloats(value); }
  static float widen(float value) { return value; }
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

/// A strip of a copy at another size, after the rows of texels were sampled at its columns.
template <typename Lanes>
struct Resampled {
  template <typename Copy>
  void prepare(const Copy &copy, int rows, const typename Lanes::Sum *samples) {
    for (int y = 0; y < rows; ++y) lower[y] = samples + (copy.lowerRows[y] - copy.lowerRows[0]) * stripWidth;
    for (int y = 0; y < rows; ++y) fractions[y] = Lanes::widen(copy.rowFractions[y]);
    for (int c = 0; c < 4; ++c) tints[c] = copy.tints[c];
  }

  const typename Lanes::Sum *lower[stripHeight];  ///< for each row of the target, its lower row of samples; the upper
                                                  ///< one follows it
  typename Lanes::WideFraction fractions[stripHeight];
  typename Lanes::Fraction tints[4];
};

/// The same in one channel, when sums are not rounded: then the tint can be multiplied by the fractions beforehand.
template <typename Lanes>
struct Weighed {
  template <typename Copy>
  void prepare(const Copy &copy, int rows, const typename Lanes::Sum *samples) {
    for (int y = 0; y < rows; ++y) lower[y] = samples + (copy.lowerRows[y] - copy.lowerRows[0]) * stripWidth;
    for (int y = 0; y < rows; ++y) {
      upperWeights[y] = copy.rowFractions[y] * copy.tints[0];
      lowerWeights[y] = (1.0f - copy.rowFractions[y]) * copy.tints[0];
    }
  }

  const typename Lanes::Sum *lower[stripHeight];
  typename Lanes::Fraction lowerWeights[stripHeight];
  typename Lanes::Fraction upperWeights[stripHeight];
};

/// A resampled strip's rows, from column x on.
template <typename Lanes>
struct ResampledRows {
  using Vector = typename Lanes::Vector;

  ResampledRows(const Resampled<Lanes> &of, std::ptrdiff_t, int fromX, int) : copy(of), x(fromX) {}

  Vector next(int y) const {
    const typename Lanes::Sum *lower = copy.lower[y] + x;
    return lerp(Lanes::load(lower), Lanes::load(lower + stripWidth), Lanes::broadcastWide(copy.fractions[y]));
  }

  const Resampled<Lanes> &copy;
  int x;
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
    for (int x = 0; x < target.columns; x += Lanes::lanes)
      addBlock<Lanes, Rows, channels, masked, block>(copies, count, stride, target, x, y);
  for (; y < target.rows; ++y)
    for (int x = 0; x < target.columns; x += Lanes::lanes)
      addBlock<Lanes, Rows, channels, masked, 1>(copies, count, stride, target, x, y);
}

/// Samples the rows of texels that `rows` rows of a strip need, each once, into rows of stripWidth samples. Returns the
/// number of rows sampled.
template <typename Lanes, typename Copy>
inline int resample(const Copy &copy, std::ptrdiff_t stride, int rows, typename Lanes::Sum *samples) {
  const int *first = copy.texelRows + copy.lowerRows[0];
  const int count = copy.lowerRows[rows - 1] + 2 - copy.lowerRows[0];
  if constexpr (shuffles) {
    if (copy.columns->narrow) {
      // All columns of a row one after another: its texels are in the nearest cache then.
      constexpr int vectors = stripWidth / Lanes::lanes;
      using Sampler = decltype(narrowSampler(*copy.columns, 0));
      Sampler samplers[vectors];
      for (int v = 0; v < vectors; ++v) samplers[v] = narrowSampler(*copy.columns, v * Lanes::lanes);
      for (int i = 0; i < count; ++i) {
        const auto *row = copy.texels + first[i] * stride;
#pragma GCC unroll 8
        for (int v = 0; v < vectors; ++v) Lanes::store(samples + i * stripWidth + v * Lanes::lanes, samplers[v](row));
      }
      return count;
    }
  }
  for (int i = 0; i < count; ++i) sampleWide(copy.texels + first[i] * stride, *copy.columns, samples + i * stripWidth);
  return count;
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

template <typename Lanes>
void addStrips(const Resampled<Lanes> *copies, int count, const typename Lanes::Target &target) {
  add<Lanes, ResampledRows<Lanes>>(copies, count, 0, target);
}

/// Adds rows y .. y + rows - 1 of copies to the sums of their channel, in each row `vectors` vectors from x on.
template <typename Lanes, int rows, int vectors>
inline void addWeighed(const Weighed<Lanes> *copies, int count, typename Lanes::Sum *sums, int x, int y) {
  using Vector = typename Lanes::Vector;
  Vector block[rows][vectors];
  typename Lanes::Sum *const first = sums + y * stripWidth + x;
#pragma GCC unroll 8
  for (int r = 0; r < rows; ++r)
#pragma GCC unroll 8
    for (int v = 0; v < vectors; ++v) block[r][v] = Lanes::load(first + r * stripWidth + v * Lanes::lanes);
  for (int i = 0; i < count; ++i) {
#pragma GCC unroll 8
    for (int r = 0; r < rows; ++r) {
      const typename Lanes::Sum *lower = copies[i].lower[y + r] + x;
      const Vector lowerWeight = Lanes::broadcast(copies[i].lowerWeights[y + r]);
      const Vector upperWeight = Lanes::broadcast(copies[i].upperWeights[y + r]);
#pragma GCC unroll 8
      for (int v = 0; v < vectors; ++v) {
        const typename Lanes::Sum *at = lower + v * Lanes::lanes;
        block[r][v] = multiplyAdd(Lanes::load(at), lowerWeight, block[r][v]);
        block[r][v] = multiplyAdd(Lanes::load(at + stripWidth), upperWeight, block[r][v]);
      }
    }
  }
#pragma GCC unroll 8
  for (int r = 0; r < rows; ++r)
#pragma GCC unroll 8
    for (int v = 0; v < vectors; ++v) Lanes::store(first + r * stripWidth + v * Lanes::lanes, block[r][v]);
}

template <typename Lanes>
void addStrips(const Weighed<Lanes> *copies, int count, const typename Lanes::Target &target) {
  constexpr int inStrip = stripWidth / Lanes::lanes;
  constexpr int vectors = inStrip < 4 ? inStrip : 4;
  constexpr int rows = (vectorRegisters >= 32 ? 16 : 8) / vectors;
  int y = 0;
  for (; y + rows <= target.rows; y += rows)
    for (int x = 0; x < stripWidth; x += vectors * Lanes::lanes)
      addWeighed<Lanes, rows, vectors>(copies, count, target.sums[0], x, y);
  for (; y < target.rows; ++y)
    for (int x = 0; x < stripWidth; x += vectors * Lanes::lanes)
      addWeighed<Lanes, 1, vectors>(copies, count, target.sums[0], x, y);
}

template <typename Lanes, typename Strip, typename Copy>
void addResampled(const Copy *copies, int count, std::ptrdiff_t stride, const typename Lanes::Target &target) {
  using Sum = typename Lanes::Sum;
  // Every row of the target samples two rows of texels at most. As many copies at once as the nearest cache holds.
  constexpr int samplesOfCopy = 2 * stripHeight * stripWidth;
  constexpr int space = 20480 / static_cast<int>(sizeof(Sum));
  constexpr int atOnce = 8;
  alignas(64) Sum samples[space];
  Strip strips[atOnce];
  for (int done = 0; done < count;) {
    int now = 0;
    for (int used = 0; now < atOnce && done + now < count && used + samplesOfCopy <= space; ++now) {
      const Copy &copy = copies[done + now];
      strips[now].prepare(copy, target.rows, samples + used);
      used += resample<Lanes>(copy, stride, target.rows, samples + used) * stripWidth;
    }
    addStrips(strips, now, target);
    done += now;
  }
}

template <typename Lanes, typename Copy>
void addScaled(const Copy *copies, int count, std::ptrdiff_t stride, const typename Lanes::Target &target) {
  if constexpr (Lanes::weighs) {
    if (target.channels == 1 && !target.mask) return addResampled<Lanes, Weighed<Lanes>>(copies, count, stride, target);
  }
  addResampled<Lanes, Resampled<Lanes>>(copies, count, stride, target);
}

// The loops below suit the compiler's vectoriser.

inline bool isSaturated(const LevelTarget &target) {
  for (int c = 0; c < target.channels; ++c) {
    const std::uint16_t *const sums = target.sums[c];
    if (sums[0] < 255) return false;  // most often
    std::uint16_t smallest[halfStrip];
    for (std::uint16_t &level : smallest) level = 255;
    for (int y = 0; y < target.rows; ++y)
      for (int x = 0; x < target.columns; x += halfStrip)
        for (int i = 0; i < halfStrip; ++i) {
          const std::uint16_t sum = sums[y * stripWidth + x + i];
          smallest[i] = sum < smallest[i] ? sum : smallest[i];
        }
    for (const std::uint16_t level : smallest)
      if (level < 255) return false;
  }
  return true;
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

inline void clearFloats(float *pixels, int width, int rows, std::ptrdiff_t stride) {
  constexpr int lineFloats = 16;  // of a cache line
  const auto isAligned = [](std::uintptr_t bytes) { return bytes % (lineFloats * sizeof(float)) == 0; };
  const bool streams = isAligned(reinterpret_cast<std::uintptr_t>(pixels)) && isAligned(stride * sizeof(float));
  const int streamed = streams ? 4 * width / lineFloats * lineFloats : 0;
  for (int y = 0; y < rows; ++y, pixels += stride) {
    for (int i = 0; i < streamed; i += floatLanes) streamFloats(pixels + i, broadcastFloats(0.0f));
    for (int i = streamed; i < 4 * width; ++i) pixels[i] = 0.0f;
  }
  if (streamed > 0) finishStreams();
}

/// The instruction set's kernels under its name.
constexpr Kernels kernelsNamed(const char *name) {
  return {name,
          wordLanes > halfStrip ? stripWidth : halfStrip,
          add<LevelLanes, UnitRows<LevelLanes>>,
          addScaled<LevelLanes, ScaledLevels>,
          add<FloatLanes, UnitRows<FloatLanes>>,
          addScaled<FloatLanes, ScaledFloats>,
          addScaled<FloatLanes, ScaledMixed>,
          isSaturated,
          putLevels,
          putFloats,
          clearFloats};
}
