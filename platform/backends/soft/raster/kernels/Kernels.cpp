#include "Kernels.h"

#include <cstdlib>
#include <cstring>

#include "KernelSets.h"

namespace pyrelux::soft {

namespace {

struct Available {
  const Kernels *sets[4];
  int count = 0;

  Available() {
    sets[count++] = &scalarKernels();
#if defined(__x86_64__)
    sets[count++] = &sse2Kernels();
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) {
      sets[count++] = &avx2Kernels();
      if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw")) sets[count++] = &avx512Kernels();
    }
#elif defined(__aarch64__)
    sets[count++] = &neonKernels();
#endif
  }
};

const Available &available() {
  static const Available sets;
  return sets;
}

const Kernels &choose() {
  const Available &all = available();
  if (const char *wanted = std::getenv("PYRELUX_SIMD"))
    for (int i = 0; i < all.count; ++i)
      if (std::strcmp(all.sets[i]->name, wanted) == 0) return *all.sets[i];
  return *all.sets[all.count - 1];
}

}  // namespace

const Kernels *const *availableKernels(int &count) {
  count = available().count;
  return available().sets;
}

const Kernels &kernels() {
  static const Kernels &chosen = choose();
  return chosen;
}

}  // namespace pyrelux::soft
