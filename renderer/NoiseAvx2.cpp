// AVX2 with fused multiply-add.

#include <immintrin.h>
#include <math.h>

#include <cstddef>

#include "NoiseSets.h"

namespace pyrelux {
namespace {

using Doubles = double __attribute__((vector_size(32)));

inline Doubles multiplyAdd(Doubles a, Doubles b, Doubles c) { return _mm256_fmadd_pd(a, b, c); }

#include "NoiseLoops.h"

}  // namespace

const NoiseSet &avx2Noise() {
  static constexpr NoiseSet set = noiseNamed("avx2");
  return set;
}

}  // namespace pyrelux
