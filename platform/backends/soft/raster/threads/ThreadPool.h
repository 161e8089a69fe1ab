#pragma once

#include <chrono>
#include <functional>

namespace pyrelux::soft {

/// The number of threads that draw, the calling one included: PYRELUX_THREADS (1 .. 256), else one for each core. The
/// first call reads it.
int threadCount();

/// Calls work(0) … work(count - 1), each once, on the process's pool and on the calling thread. Returns when all calls
/// have returned. Thread: any; a caller that finds the pool busy with another caller's work makes its calls alone.
///
/// The first call starts the threads, fewer if the system refuses some; unloading the library joins them. If a call
/// throws, parallelFor() skips the calls that have not begun, waits for the others, and throws the same exception.
void parallelFor(int count, const std::function<void(int)> &work);

/// The time that callers have spent in parallelFor() so far. What they do elsewhere runs on one core. Thread: any.
std::chrono::nanoseconds timeInParallel();

}  // namespace pyrelux::soft
