// The loops of the kernels, over a vector type that each instruction set supplies. Included once by each Kernels*.cpp,
// inside a namespace of its own: code built for one instruction set must never be merged with another's. Nothing here
// may use a library function.

// Words has wordLanes lanes of 16 bits, Floats floatLanes of single precision. Each set supplies
//   loadWords, storeWords, broadcastWords, + - &, addSaturated (unsigned), multiplyRounded: (a * b + 2^14) >> 15
//   sampleNarrow(row, columns, x): the levels that a narrow table gives for the lanes from pixel x on
//   loadFloats, storeFloats, broadcastFloats, - *, multiplyAdd(a, b, c): a * b + c, gatherFloats(row, taps)

/// a towards b by a fraction of 1/128 of 1/256: a + ((f * (b - a) + 128) >> 8).
inline Words lerpWords(Words a, Words b, Words fraction) { return a + multiplyRounded(b - a, fraction); }

template <int channels, bool masked>
inline void addLevels(const LevelTarget &target, std::ptrdiff_t at, Words value, const Words *tints, Words mask) {
  for (int c = 0; c < channels; ++c) {
    Words added = multiplyRounded(value, tints[c]);
    if (masked) added = added & mask;
    std::uint16_t *sum = target.sums[c] + at;
    storeWords(sum, addSaturated(loadWords(sum), added));
  }
}

template <int channels, bool masked>
void unitLevelsLoop(const UnitLevels &source, const LevelTarget &target) {
  const Words fractionX = broadcastWords(static_cast<std::int16_t>(source.fractionX << 7));
  const Words fractionY = broadcastWords(static_cast<std::int16_t>(source.fractionY << 7));
  Words tints[channels];
  for (int c = 0; c < channels; ++c) tints[c] = broadcastWords(target.tints[c]);
  for (int x = 0; x < stripWidth; x += wordLanes) {
    const Words mask = masked ? loadWords(target.mask + x) : broadcastWords(-1);
    const std::uint16_t *row = source.texels + x;
    Words lower = lerpWords(loadWords(row), loadWords(row + 1), fractionX);
    for (int y = 0; y < target.rows; ++y) {
      row += source.stride;
      const Words upper = lerpWords(loadWords(row), loadWords(row + 1), fractionX);
      addLevels<channels, masked>(target, y * target.stride + x, lerpWords(lower, upper, fractionY), tints, mask);
      lower = upper;
    }
  }
}

/// One pixel at a time, for tables that are not narrow.
inline Words sampleWide(const std::int8_t *row, const ColumnTable &columns, int x) {
  alignas(64) std::uint16_t levels[wordLanes];
  for (int i = 0; i < wordLanes; ++i) {
    const std::int8_t *tap = row + columns.taps[x + i];
    const int a = tap[0] + 128;
    const int b = tap[1] + 128;
    levels[i] = static_cast<std::uint16_t>(a + ((columns.fractions[x + i] * (b - a) + 128) >> 8));
  }
  return loadWords(levels);
}

template <int channels, bool masked>
void scaledLevelsLoop(const ScaledLevels &source, const LevelTarget &target) {
  Words tints[channels];
  for (int c = 0; c < channels; ++c) tints[c] = broadcastWords(target.tints[c]);
  for (int x = 0; x < stripWidth; x += wordLanes) {
    const Words mask = masked ? loadWords(target.mask + x) : broadcastWords(-1);
    const auto resampled = [&](int tap) {
      const std::int8_t *row = source.texels + tap * source.stride;
      return source.columns->narrow ? sampleNarrow(row, *source.columns, x) : sampleWide(row, *source.columns, x);
    };
    int tap = source.rowTaps[0];
    Words lower = resampled(tap);
    Words upper = resampled(tap + 1);
    for (int y = 0; y < target.rows; ++y) {
      // Rows that are not new are kept; magnified copies have few new ones.
      const int wanted = source.rowTaps[y];
      if (wanted != tap) {
        lower = wanted == tap + 1 ? upper : resampled(wanted);
        upper = resampled(wanted + 1);
        tap = wanted;
      }
      addLevels<channels, masked>(target, y * target.stride + x,
                                  lerpWords(lower, upper, broadcastWords(source.rowFractions[y])), tints, mask);
    }
  }
}

template <int channels, bool masked>
inline void addFloats(const FloatTarget &target, std::ptrdiff_t at, Floats value, const Floats *tints, Floats mask) {
  if (masked) value = value * mask;
  for (int c = 0; c < channels; ++c) {
    float *sum = target.sums[c] + at;
    storeFloats(sum, multiplyAdd(value, tints[c], loadFloats(sum)));
  }
}

inline Floats lerpFloats(Floats a, Floats b, Floats fraction) { return multiplyAdd(b - a, fraction, a); }

template <int channels, bool masked>
void unitFloatsLoop(const UnitFloats &source, const FloatTarget &target) {
  const Floats fractionX = broadcastFloats(source.fractionX);
  const Floats fractionY = broadcastFloats(source.fractionY);
  Floats tints[channels];
  for (int c = 0; c < channels; ++c) tints[c] = broadcastFloats(target.tints[c]);
  for (int x = 0; x < stripWidth; x += floatLanes) {
    const Floats mask = masked ? loadFloats(target.mask + x) : broadcastFloats(1.0f);
    const float *row = source.texels + x;
    Floats lower = lerpFloats(loadFloats(row), loadFloats(row + 1), fractionX);
    for (int y = 0; y < target.rows; ++y) {
      row += source.stride;
      const Floats upper = lerpFloats(loadFloats(row), loadFloats(row + 1), fractionX);
      addFloats<channels, masked>(target, y * target.stride + x, lerpFloats(lower, upper, fractionY), tints, mask);
      lower = upper;
    }
  }
}

template <int channels, bool masked>
void scaledFloatsLoop(const ScaledFloats &source, const FloatTarget &target) {
  Floats tints[channels];
  for (int c = 0; c < channels; ++c) tints[c] = broadcastFloats(target.tints[c]);
  for (int x = 0; x < stripWidth; x += floatLanes) {
    const Floats mask = masked ? loadFloats(target.mask + x) : broadcastFloats(1.0f);
    const Floats fractionX = loadFloats(source.columnFractions + x);
    const auto resampled = [&](int tap) {
      const float *row = source.texels + tap * source.stride;
      return lerpFloats(gatherFloats(row, source.columnTaps + x), gatherFloats(row + 1, source.columnTaps + x),
                        fractionX);
    };
    int tap = source.rowTaps[0];
    Floats lower = resampled(tap);
    Floats upper = resampled(tap + 1);
    for (int y = 0; y < target.rows; ++y) {
      const int wanted = source.rowTaps[y];
      if (wanted != tap) {
        lower = wanted == tap + 1 ? upper : resampled(wanted);
        upper = resampled(wanted + 1);
        tap = wanted;
      }
      addFloats<channels, masked>(target, y * target.stride + x,
                                  lerpFloats(lower, upper, broadcastFloats(source.rowFractions[y])), tints, mask);
    }
  }
}

// Picks the loop for a number of channels and a mask.
#define PYRELUX_CHOOSE(loop)                                                               \
  switch (target.channels) {                                                               \
    case 1:                                                                                \
      return target.mask ? loop<1, true>(source, target) : loop<1, false>(source, target); \
    case 2:                                                                                \
      return target.mask ? loop<2, true>(source, target) : loop<2, false>(source, target); \
    case 3:                                                                                \
      return target.mask ? loop<3, true>(source, target) : loop<3, false>(source, target); \
    case 4:                                                                                \
      return target.mask ? loop<4, true>(source, target) : loop<4, false>(source, target); \
    default:                                                                               \
      return;                                                                              \
  }
inline void unitLevels(const UnitLevels &source, const LevelTarget &target) { PYRELUX_CHOOSE(unitLevelsLoop) }
inline void scaledLevels(const ScaledLevels &source, const LevelTarget &target) { PYRELUX_CHOOSE(scaledLevelsLoop) }
inline void unitFloats(const UnitFloats &source, const FloatTarget &target) { PYRELUX_CHOOSE(unitFloatsLoop) }
inline void scaledFloats(const ScaledFloats &source, const FloatTarget &target) { PYRELUX_CHOOSE(scaledFloatsLoop) }
#undef PYRELUX_CHOOSE
