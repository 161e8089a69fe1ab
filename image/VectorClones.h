#pragma once

/// In front of a function whose loops gain by wide vectors: it is compiled for AVX2 as well, and the program chooses
/// when it starts. Every operation rounds as it does without, so the results are the same. Clones need a loader that
/// chooses between them, and sanitizers do not run before it does; clang clones no templates.
#if defined(__x86_64__) && defined(__ELF__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__) && \
    !defined(__SANITIZE_THREAD__)
#define PYRELUX_VECTOR_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define PYRELUX_VECTOR_CLONES
#endif
