#pragma once

#include <cstddef>
#include <cstdint>

// The inner loops that add copies up, once for each instruction set. On levels, every set gives the results of
// Arithmetic.h bit by bit.

namespace pyrelux::soft {

/// The number of neighbouring pixels that a kernel handles together: a strip.
constexpr int stripWidth = 32;
constexpr int halfStrip = stripWidth / 2;
/// The maximum number of rows of a strip that a kernel handles together.
constexpr int stripHeight = 32;
/// A strip's parts, for copies that have nothing in some: halves of so many rows each. Part 0 is the first half of the
/// first rows, part 1 the second half.
constexpr int partRows = 8;
constexpr int partsOfStrip = 2 * stripHeight / partRows;

/// The sums of a strip or of its part: for each channel that takes part, rows of stripWidth sums. Sums are 16-bit
/// levels, which saturate far above 255, or floats.
template <typename Sum>
struct StripTarget {
  int channels = 0;  ///< the number of entries in use of `sums`
  Sum *sums[4];
  int columns = stripWidth;   ///< or Kernels::levelColumns, or halfStrip; copies at another size need all
  int rows = 0;               ///< at most stripHeight
  const Sum *mask = nullptr;  ///< for each pixel of a row all ones (or 1.0f) or zero; null adds to every pixel
};
using LevelTarget = StripTarget<std::uint16_t>;
using FloatTarget = StripTarget<float>;

/// A copy at its own size: neighbouring pixels sample neighbouring texels, all with the same fractions. A kernel reads
/// rows + 1 rows of columns + 1 texels.
struct UnitLevels {
  const std::int8_t *texels;  ///< levels - 128, from the lower left tap of the target's first pixel on
  std::int16_t fractionX;     ///< in 1/32768; a multiple of 1/256
  std::int16_t fractionY;
  std::int16_t tints[4];
};
struct UnitFloats {
  const float *texels;
  float fractionX;  ///< 0 .. 1
  float fractionY;
  float tints[4];
};

/// The places along a row where a strip of a copy at another size samples. Kept small, because a frame reads megabytes
/// of tables; what shuffles need follows from it.
template <typename Fraction>
struct ColumnTable {
  int base;  ///< taps count from this texel, the lowest
  std::uint16_t taps[stripWidth];
  Fraction fractions[stripWidth];
  /// The table is narrow when the texels of each group of eight pixels lie within a window of 16.
  bool narrow;
  std::uint16_t windows[stripWidth / 8];  ///< the lowest tap of each group
};
using LevelColumnTable = ColumnTable<std::uint8_t>;  ///< fractions in 1/256
/// For levels that are added to floats. Fractions are in 1/mixedUnit, and samples are levels times mixedUnit: the
/// largest number for which both weights are signed words.
using MixedColumnTable = ColumnTable<std::uint16_t>;
constexpr int mixedUnit = 32767;

/// The same for floats, counted from texel 0.
struct FloatColumnTable {
  std::int32_t taps[stripWidth];
  float fractions[stripWidth];
  /// The table is narrow when the texels of each group of eight pixels lie within a window of 16, and those of each
  /// sixteen within 32. Then `windows` has the lowest texel of each group of eight.
  bool narrow;
  std::int32_t windows[stripWidth / 8];
};

/// A copy at another size: every column and every row has its own tap and fraction.
template <typename TexelType, typename Columns, typename Fraction>
struct ScaledCopy {
  using Texel = TexelType;

  const Texel *texels;  ///< from texel `columns->base` of row 0 on; levels - 128, or floats from texel 0 on
  const Columns *columns;
  const int *texelRows;  ///< the rows of texels that are sampled, in the order of the target's rows
  const int *lowerRows;  ///< for each row of the target, the index in texelRows of its lower tap; the next is the upper
  const Fraction *rowFractions;  ///< for each row of the target; of levels in 1/32768
  Fraction tints[4];             ///< what is added for each unit of a sample
};
using ScaledLevels = ScaledCopy<std::int8_t, LevelColumnTable, std::int16_t>;
using ScaledMixed = ScaledCopy<std::uint8_t, MixedColumnTable, float>;  ///< texels are levels
using ScaledFloats = ScaledCopy<float, FloatColumnTable, float>;

struct Kernels {
  const char *name;  ///< its value of PYRELUX_SIMD
  int levelColumns;  ///< the fewest columns of a target of levels: halfStrip, or stripWidth where a vector holds as
                     ///< many
  /// Add `count` copies, whose rows of texels are `stride` texels apart. One call is faster than several.
  void (*unitLevels)(const UnitLevels *, int count, std::ptrdiff_t stride, const LevelTarget &);
  void (*scaledLevels)(const ScaledLevels *, int count, std::ptrdiff_t stride, const LevelTarget &);
  void (*unitFloats)(const UnitFloats *, int count, std::ptrdiff_t stride, const FloatTarget &);
  void (*scaledFloats)(const ScaledFloats *, int count, std::ptrdiff_t stride, const FloatTarget &);
  void (*scaledMixed)(const ScaledMixed *, int count, std::ptrdiff_t stride, const FloatTarget &);
  /// Whether all sums of a target have reached 255.
  bool (*isSaturated)(const LevelTarget &);
  /// Add a row of sums and a constant for each channel to `width` pixels; with `blank` they replace the pixels.
  void (*putLevels)(const std::uint16_t *const sums[4], const std::uint16_t constants[4], int width, bool blank,
                    std::uint8_t *pixels);
  void (*putFloats)(const float *const sums[4], const float constants[4], int width, bool blank, float *pixels);
  /// Sets `width` pixels of each row to 0, past the caches if the processor can: a surface of floats is larger than
  /// they are. Rows are `stride` floats apart.
  void (*clearFloats)(float *pixels, int width, int rows, std::ptrdiff_t stride);
};

/// The kernels in use: those that PYRELUX_SIMD names (scalar, sse2, avx2, avx512, neon) if the processor runs them,
/// else the best that it runs. The first call chooses. Thread: any.
const Kernels &kernels();

/// All kernels that this processor runs, scalar first.
const Kernels *const *availableKernels(int &count);

}  // namespace pyrelux::soft
