#include "NoiseSets.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "NumericHelpers.h"

namespace pyrelux {

namespace {

void plainSums(const double *x, int count, double octaves, double *result) {
  for (int i = 0; i < count; ++i) result[i] = noiseSum(x[i], octaves);
}

int plainSines(const double *x, int count, double *result) {
  for (int i = 0; i < count; ++i) result[i] = std::sin(x[i]);
  return count;
}

int plainCosines(const double *x, int count, double *result) {
  for (int i = 0; i < count; ++i) result[i] = std::cos(x[i]);
  return count;
}

std::vector<const NoiseSet *> detect() {
  std::vector<const NoiseSet *> sets{&scalarNoise()};
  // The vectors count on a C library that errs by less than 0.55 of the last place. glibc does; others promise less.
#if defined(__x86_64__) && defined(__GLIBC__)
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) {
    sets.push_back(&avx2Noise());
    if (__builtin_cpu_supports("avx512f")) sets.push_back(&avx512Noise());
  }
#endif
  return sets;
}

const std::vector<const NoiseSet *> &available() {
  static const std::vector<const NoiseSet *> sets = detect();
  return sets;
}

}  // namespace

const NoiseSet &scalarNoise() {
  static constexpr NoiseSet set = {"scalar", plainSums, plainSines, plainCosines};
  return set;
}

const NoiseSet *const *availableNoise(int &count) {
  count = static_cast<int>(available().size());
  return available().data();
}

const NoiseSet &noiseSetFor(const char *wanted) {
  if (wanted) {
    for (const NoiseSet *set : available())
      if (std::strcmp(set->name, wanted) == 0) return *set;
    if (std::strcmp(wanted, "sse2") == 0 || std::strcmp(wanted, "neon") == 0) return scalarNoise();
  }
  return *available().back();
}

const NoiseSet &noiseSet() {
  static const NoiseSet &chosen = noiseSetFor(std::getenv("PYRELUX_SIMD"));
  return chosen;
}

}  // namespace pyrelux
