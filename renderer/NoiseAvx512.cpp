// AVX-512.

#include <immintrin.h>
#include <math.h>

#include <cstddef>

#include "NoiseSets.h"

namespace pyrelux {
namespace {

using Doubles = double __attribute__((vector_size(64)));

inline Doubles multiplyAdd(Doubles a, Doubles b, Doubles c) { return _mm512_fmadd_pd(a, b, c); }

#include "NoiseLoops.h"

}  // namespace

const NoiseSet &avx512Noise() {
  static constexpr NoiseSet set = noiseNamed("avx512");
  return set;
}

}  // namespace pyrelux
