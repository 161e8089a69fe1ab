// Tests a system that limits a process's threads: this program's calls of pthread_create() fail after the first few.

#include <dlfcn.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>

#include "ThreadPool.h"

namespace {

constexpr int maxThreads = 2;
std::atomic<int> threads{0};

}  // namespace

extern "C" int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*run)(void *),
                              void *argument) {
  if (++threads > maxThreads) return EAGAIN;
  using Create = int (*)(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);
  static const auto create = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
  return create(thread, attributes, run, argument);
}

namespace pyrelux::soft {
namespace {

// Only one test, because a process has one pool.
TEST(FewThreads, DoTheWorkOfAll) {
  setenv("PYRELUX_THREADS", "64", 1);
  std::atomic<int> sum{0};
  std::mutex mutex;
  std::set<std::thread::id> workers;
  for (int round = 0; round < 100; ++round)
    parallelFor(100, [&](int i) {
      sum += i;
      const std::lock_guard<std::mutex> lock(mutex);
      workers.insert(std::this_thread::get_id());
    });
  EXPECT_EQ(threadCount(), 64);
  EXPECT_GT(threads, maxThreads) << "none was refused";
  EXPECT_EQ(sum, 100 * 4950);
  EXPECT_LE(workers.size(), maxThreads + 1u);
  EXPECT_THROW(parallelFor(10, [](int) { throw std::runtime_error("no"); }), std::runtime_error);
}

}  // namespace
}  // namespace pyrelux::soft
