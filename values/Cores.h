#pragma once

namespace pyrelux {

/// How many cores are to work: PYRELUX_THREADS, or those that this process may use. 1 at least.
int coresInUse();

}  // namespace pyrelux
