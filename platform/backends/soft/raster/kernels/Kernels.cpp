#include "Kernels.h"

#include <cstdlib>
#include <cstring>
#include <vector>

#include "KernelSets.h"

namespace pyrelux::soft {

namespace {

std::vector<const Kernels *> detect() {
  std::vector<const Kernels *> sets{&scalarKernels()};
#if defined(__x86_64__)
  sets.push_back(&sse2Kernels());
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) {
    sets.push_back(&avx2Kernels());
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw")) sets.push_back(&avx512Kernels());
  }
#elif defined(__aarch64__)
  sets.push_back(&neonKernels());
#endif
  return sets;
}

/// Scalar first, the best last.
const std::vector<const Kernels *> &available() {
  static const std::vector<const Kernels *> sets = detect();
  return sets;
}

const Kernels &choose() {
  if (const char *wanted = std::getenv("PYRELUX_SIMD"))
    for (const Kernels *set : available())
      if (std::strcmp(set->name, wanted) == 0) return *set;
  return *available().back();
}

}  // namespace

const Kernels *const *availableKernels(int &count) {
  count = static_cast<int>(available().size());
  return available().data();
}

const Kernels &kernels() {
  static const Kernels &chosen = choose();
  return chosen;
}

}  // namespace pyrelux::soft
