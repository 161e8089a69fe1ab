// AVX-512.

#include <immintrin.h>
#include <math.h>

#include <cstddef>

#include "NoiseSets.h"

namespace pyrelux {
namespace {

constexpr int lanes = 8;
using Doubles = double __attribute__((vector_size(64)));
using Words = long long __attribute__((vector_size(64)));

inline Doubles all(double value) { return _mm512_set1_pd(value); }
inline Doubles load(const double *from) { return _mm512_load_pd(from); }
inline void store(double *to, Doubles values) { _mm512_store_pd(to, values); }
inline Doubles multiplyAdd(Doubles a, Doubles b, Doubles c) { return _mm512_fmadd_pd(a, b, c); }

#include "NoiseLoops.h"

}  // namespace

const NoiseSet &avx512Noise() {
  static constexpr NoiseSet set = noiseNamed("avx512");
  return set;
}

}  // namespace pyrelux
