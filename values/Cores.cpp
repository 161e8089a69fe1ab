#include "Cores.h"

#include <algorithm>
#include <cstdlib>
#include <thread>

namespace pyrelux {

int coresInUse() {
  const char *threads = std::getenv("PYRELUX_THREADS");
  const int asked = threads ? std::atoi(threads) : 0;
  return asked > 0 ? asked : std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

}  // namespace pyrelux
