#pragma once

#include <cstddef>
#include <cstdint>

// The inner loops, once for each instruction set. Every set computes Arithmetic.h's results bit by bit on levels.

namespace pyrelux::soft {

/// Pixels that a kernel handles side by side.
constexpr int stripWidth = 32;
constexpr int halfStrip = stripWidth / 2;

/// Sums of a strip, and what of it is added to: rows of stripWidth sums, one plane of 16-bit levels (they saturate far
/// above 255) or of floats for each channel that takes part.
template <typename Sum>
struct StripTarget {
  int channels = 0;
  Sum *sums[4];
  int rows = 0;
  const Sum *mask = nullptr;  ///< a strip of all ones (or 1.0f) and zeros; null takes every pixel
};
using LevelTarget = StripTarget<std::uint16_t>;
using FloatTarget = StripTarget<float>;

/// A copy at its own size: neighbouring pixels sample neighbouring texels, all with the same fractions. Reads rows + 1
/// rows of stripWidth + 1 texels.
struct UnitLevels {
  const std::int8_t *texels;  ///< levels - 128; lower left tap of the strip's first pixel
  unsigned halves;            ///< a bit for each half of the strip: whether the copy shows anything there
  std::int16_t fractionX;     ///< in 1/32768, of which only 1/256 count
  std::int16_t fractionY;
  std::int16_t tints[4];
};
struct UnitFloats {
  const float *texels;
  unsigned halves;
  float fractionX;  ///< 0 .. 1
  float fractionY;
  float tints[4];
};

/// Where a strip of a copy at another size samples along a row. Taps count from the lowest one, which is texel `base`.
struct LevelColumnTable {
  int base;
  std::uint16_t taps[stripWidth];
  std::uint8_t fractions[stripWidth];
  /// The same for eight pixels at a time, when their texels lie within 16 of each other: where those 16 begin, which of
  /// them each pixel takes, and how much of each (the two weights of a pixel sum to 256).
  bool narrow;
  std::uint16_t windows[stripWidth / 8];
  std::uint8_t pairs[stripWidth * 2];
  std::uint8_t weights[stripWidth * 2];
};

/// The same for floats, counted from texel 0.
struct FloatColumnTable {
  std::int32_t taps[stripWidth];
  float fractions[stripWidth];
  /// Of eight pixels at a time, when their texels lie within 16 of each other and those of sixteen within 32: the
  /// lowest.
  bool narrow;
  std::int32_t windows[stripWidth / 8];
};

/// A copy at another size: every column and row has a tap and a fraction of its own.
struct ScaledLevels {
  const std::int8_t *texels;  ///< levels - 128; of the lowest column tap in row 0
  const LevelColumnTable *columns;
  const int *rowTaps;                ///< for each row of the target
  const std::int16_t *rowFractions;  ///< in 1/32768
  std::int16_t tints[4];
};
struct ScaledFloats {
  const float *texels;
  const FloatColumnTable *columns;
  const int *rowTaps;
  const float *rowFractions;
  float tints[4];
};

struct Kernels {
  const char *name;  ///< as PYRELUX_SIMD takes it
  /// Adds `count` copies whose texels' rows are `stride` apart. Several at once cost less than one by one.
  void (*unitLevels)(const UnitLevels *, int count, std::ptrdiff_t stride, const LevelTarget &);
  void (*scaledLevels)(const ScaledLevels *, int count, std::ptrdiff_t stride, const LevelTarget &);
  void (*unitFloats)(const UnitFloats *, int count, std::ptrdiff_t stride, const FloatTarget &);
  void (*scaledFloats)(const ScaledFloats *, int count, std::ptrdiff_t stride, const FloatTarget &);
  /// Whether all levels of a strip's rows have reached 255.
  bool (*isSaturated)(const std::uint16_t *sums, int rows);
  /// Writes or, when `blank` is not set, adds rows of sums and a constant for each channel to pixels.
  void (*putLevels)(const std::uint16_t *const sums[4], const std::uint16_t constants[4], int width, bool blank,
                    std::uint8_t *pixels);
  void (*putFloats)(const float *const sums[4], const float constants[4], int width, bool blank, float *pixels);
};

/// The kernels in use: the best that the processor has, or what PYRELUX_SIMD names (scalar, sse2, avx2, avx512, neon);
/// a name that can't be had here is passed over.
const Kernels &kernels();

/// All that this processor runs, scalar first.
const Kernels *const *availableKernels(int &count);

}  // namespace pyrelux::soft
