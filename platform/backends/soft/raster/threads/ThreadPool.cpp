#include "ThreadPool.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace pyrelux::soft {

namespace {

constexpr int maxThreads = 256;

int readThreadCount() {
  const char *wanted = std::getenv("PYRELUX_THREADS");
  const long threads = wanted ? std::strtol(wanted, nullptr, 10) : 0;
  if (threads > 0) return static_cast<int>(std::min<long>(threads, maxThreads));
  return std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, maxThreads);
}

std::atomic<std::int64_t> parallelNanoseconds{0};

/// Counts the time that it exists, but for one inside another, or on a thread of the pool.
class Stopwatch {
 public:
  Stopwatch() : isOuter_(depth_++ == 0) {
    if (isOuter_) begin_ = std::chrono::steady_clock::now();
  }
  ~Stopwatch() {
    --depth_;
    if (isOuter_) parallelNanoseconds += std::chrono::nanoseconds(std::chrono::steady_clock::now() - begin_).count();
  }
  Stopwatch(const Stopwatch &) = delete;
  Stopwatch &operator=(const Stopwatch &) = delete;

  /// What the calling thread does is counted by another one.
  static void ignoreThread() { depth_ = 1; }

 private:
  static thread_local int depth_;
  bool isOuter_;
  std::chrono::steady_clock::time_point begin_;
};

thread_local int Stopwatch::depth_ = 0;

class Pool {
 public:
  /// Starts the threads; fewer where the system limits threads or memory.
  Pool() {
    threads_.reserve(static_cast<std::size_t>(threadCount()));
    try {
      for (int i = 1; i < threadCount(); ++i) threads_.emplace_back([this] { serve(); });
    } catch (const std::exception &) {
      // The threads that did start, and the caller, do the work.
    }
  }

  ~Pool() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      closing_ = true;
    }
    wake_.notify_all();
    for (std::thread &thread : threads_) thread.join();
  }

  /// Returns false, without a call, when another caller's work is under way.
  bool run(int count, const std::function<void(int)> &work) {
    const std::unique_lock<std::mutex> turn(turn_, std::try_to_lock);
    if (!turn) return false;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      work_ = &work;
      count_ = count;
      next_ = 0;
      ++round_;
      serving_ = static_cast<int>(threads_.size());
    }
    wake_.notify_all();
    take(count, work);
    std::unique_lock<std::mutex> lock(mutex_);
    done_.wait(lock, [this] { return serving_ == 0; });
    work_ = nullptr;
    if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
    return true;
  }

 private:
  /// Makes calls until none are left. Keeps an exception for run(), and skips the remaining calls then.
  void take(int count, const std::function<void(int)> &work) {
    try {
      for (int i = next_++; i < count; i = next_++) work(i);
    } catch (...) {
      next_ = count;
      const std::lock_guard<std::mutex> lock(mutex_);
      failure_ = std::current_exception();
    }
  }

  void serve() {
    Stopwatch::ignoreThread();
    long seen = 0;
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      wake_.wait(lock, [&] { return closing_ || round_ != seen; });
      if (closing_) return;
      seen = round_;
      const auto *work = work_;
      const int count = count_;
      lock.unlock();
      take(count, *work);
      lock.lock();
      if (--serving_ == 0) done_.notify_one();
    }
  }

  std::vector<std::thread> threads_;
  std::mutex turn_;  ///< held by the caller whose work is under way
  std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable done_;
  const std::function<void(int)> *work_ = nullptr;
  int count_ = 0;
  std::exception_ptr failure_;
  std::atomic<int> next_{0};
  long round_ = 0;
  int serving_ = 0;
  bool closing_ = false;
};

}  // namespace

int threadCount() {
  static const int count = readThreadCount();
  return count;
}

void parallelFor(int count, const std::function<void(int)> &work) {
  static Pool pool;
  const Stopwatch running;
  if (count > 1 && threadCount() > 1 && pool.run(count, work)) return;
  for (int i = 0; i < count; ++i) work(i);
}

std::chrono::nanoseconds timeInParallel() { return std::chrono::nanoseconds(parallelNanoseconds); }

}  // namespace pyrelux::soft
