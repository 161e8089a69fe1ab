// AVX2 with fused multiply-add.

#include <immintrin.h>
#include <math.h>

#include <cstddef>

#include "NoiseSets.h"

namespace pyrelux {
namespace {

constexpr int lanes = 4;
using Doubles = double __attribute__((vector_size(32)));
using Words = long long __attribute__((vector_size(32)));

inline Doubles all(double value) { return _mm256_set1_pd(value); }
inline Doubles load(const double *from) { return _mm256_load_pd(from); }
inline void store(double *to, Doubles values) { _mm256_store_pd(to, values); }
inline Doubles multiplyAdd(Doubles a, Doubles b, Doubles c) { return _mm256_fmadd_pd(a, b, c); }

#include "NoiseLoops.h"

}  // namespace

const NoiseSet &avx2Noise() {
  static constexpr NoiseSet set = noiseNamed("avx2");
  return set;
}

}  // namespace pyrelux
