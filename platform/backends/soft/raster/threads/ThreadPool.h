#pragma once

#include <functional>

namespace pyrelux::soft {

/// How many threads draw: PYRELUX_THREADS, else one for each core; read once.
int threadCount();

/// Calls work(0) … work(count - 1), each once, on the process's pool and on the calling thread, and returns when all
/// are done. A caller that finds the pool busy with another's work does its own alone. Threads are started at the first
/// call, as many of them as the system gives, and joined when the library is unloaded. What one of the calls throws is
/// thrown here in the end; others may not have been made then.
void parallelFor(int count, const std::function<void(int)> &work);

}  // namespace pyrelux::soft
