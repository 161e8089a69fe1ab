#pragma once

// The sines of many steps at a time. Every set gives the results of the plain loop, to the bit. Thread: any.

namespace pyrelux {

/// The functions of one set of instructions. `result` may be the array that is read.
struct NoiseSet {
  const char *name;  ///< its value of PYRELUX_SIMD

  /// result[i] = noiseSum(x[i], octaves) for each i below `count`
  void (*sums)(const double *x, int count, double octaves, double *result);

  /// std::sin and std::cos of each x[i]. Returns for how many of them the C library was asked.
  int (*sines)(const double *x, int count, double *result);
  int (*cosines)(const double *x, int count, double *result);
};

const NoiseSet &scalarNoise();
#if defined(__x86_64__) && !defined(__APPLE__)
const NoiseSet &avx2Noise();
const NoiseSet &avx512Noise();
#endif

/// All that this processor runs and that give the C library's results here: the plain loop first, the best last.
const NoiseSet *const *availableNoise(int &count);

/// The set that a value of PYRELUX_SIMD, which may be null, asks for if it is available, otherwise the best. sse2 and
/// neon are the plain loop.
const NoiseSet &noiseSetFor(const char *wanted);

/// The set in use.
const NoiseSet &noiseSet();

}  // namespace pyrelux
