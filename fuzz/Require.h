#pragma once

#include <cstdio>
#include <cstdlib>

namespace pyrelux::fuzz {

/// Ends the program when what always has to hold does not.
inline void require(bool holds, const char *what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

}  // namespace pyrelux::fuzz
