#pragma once

#include "Kernels.h"

namespace pyrelux::soft {

const Kernels &scalarKernels();
#if defined(__x86_64__)
const Kernels &sse2Kernels();
const Kernels &avx2Kernels();
const Kernels &avx512Kernels();
#elif defined(__aarch64__)
const Kernels &neonKernels();
#endif

}  // namespace pyrelux::soft
