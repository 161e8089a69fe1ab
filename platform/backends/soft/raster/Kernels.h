#pragma once

#include <cstddef>
#include <cstdint>

// The inner loops, once for each instruction set. Every set computes Arithmetic.h's results bit by bit on levels.

namespace pyrelux::soft {

/// Pixels that a kernel handles side by side.
constexpr int stripWidth = 32;

/// Where a strip's weighted texels are added: one plane of 16-bit sums (levels; they saturate far above 255) or of
/// floats for each channel that takes part.
template <typename Sum, typename Tint>
struct StripTarget {
  int channels = 0;
  Sum *sums[4];  ///< of the strip's first pixel
  Tint tints[4];
  std::ptrdiff_t stride = 0;  ///< sums from one row to the next
  int rows = 0;
  const Sum *mask = nullptr;  ///< a strip of all ones (or 1.0f) and zeros; null takes every pixel
};
using LevelTarget = StripTarget<std::uint16_t, std::int16_t>;
using FloatTarget = StripTarget<float, float>;

/// A copy at its own size: neighbouring pixels sample neighbouring texels, all with the same fractions. Reads rows + 1
/// rows of stripWidth + 1 texels.
struct UnitLevels {
  const std::uint16_t *texels;  ///< lower left tap of the strip's first pixel
  std::ptrdiff_t stride;
  int fractionX;  ///< 0 .. 255
  int fractionY;
};
struct UnitFloats {
  const float *texels;
  std::ptrdiff_t stride;
  float fractionX;  ///< 0 .. 1
  float fractionY;
};

/// Where a strip of a copy at another size samples along a row. Taps count from the lowest one.
struct ColumnTable {
  std::uint16_t taps[stripWidth];
  std::uint8_t fractions[stripWidth];
  /// The same for eight pixels at a time, when their texels lie within 16 of each other: where those 16 begin, which of
  /// them each pixel takes, and how much of each (the two weights of a pixel sum to 256).
  bool narrow;
  std::uint16_t windows[stripWidth / 8];
  std::uint8_t pairs[stripWidth * 2];
  std::uint8_t weights[stripWidth * 2];
};

/// A copy at another size: every column and row has a tap and a fraction of its own.
struct ScaledLevels {
  const std::int8_t *texels;  ///< levels - 128; of the lowest column tap in row 0
  std::ptrdiff_t stride;
  const ColumnTable *columns;
  const int *rowTaps;                ///< for each row of the target
  const std::int16_t *rowFractions;  ///< fraction << 7
};
struct ScaledFloats {
  const float *texels;
  std::ptrdiff_t stride;
  const std::int32_t *columnTaps;
  const float *columnFractions;
  const int *rowTaps;
  const float *rowFractions;
};

struct Kernels {
  const char *name;  ///< as PYRELUX_SIMD takes it
  void (*unitLevels)(const UnitLevels &, const LevelTarget &);
  void (*scaledLevels)(const ScaledLevels &, const LevelTarget &);
  void (*unitFloats)(const UnitFloats &, const FloatTarget &);
  void (*scaledFloats)(const ScaledFloats &, const FloatTarget &);
};

/// The kernels in use: the best that the processor has, or what PYRELUX_SIMD names (scalar, sse2, avx2, avx512, neon);
/// a name that can't be had here is passed over.
const Kernels &kernels();

/// All that this processor runs, scalar first.
const Kernels *const *availableKernels(int &count);

}  // namespace pyrelux::soft
