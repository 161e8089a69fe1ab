#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace pyrelux::job {

/// Hands values from one thread to another, in order. Thread: any.
template <typename Value>
class BlockingQueue {
 public:
  /// Does nothing once the queue is closed.
  void push(Value value) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (isClosed_) return;
    values_.push_back(std::move(value));
    changed_.notify_one();
  }

  /// Waits for a value. Nothing once the queue is closed and empty.
  std::optional<Value> pop() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return isClosed_ || !values_.empty(); });
    if (values_.empty()) return std::nullopt;
    Value value = std::move(values_.front());
    values_.pop_front();
    return value;
  }

  void close() {
    const std::lock_guard<std::mutex> lock(mutex_);
    isClosed_ = true;
    changed_.notify_all();
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Value> values_;
  bool isClosed_ = false;
};

}  // namespace pyrelux::job
