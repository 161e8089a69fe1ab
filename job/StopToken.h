#pragma once

#include <atomic>
#include <memory>

namespace pyrelux::job {

/// Asks one job to stop. Copies stand for the same request. Thread: any; request() also from a signal handler.
class StopToken {
 public:
  void request() const { isRequested_->store(true); }
  bool isRequested() const { return isRequested_->load(); }

 private:
  static_assert(std::atomic<bool>::is_always_lock_free, "signal handlers set it");
  std::shared_ptr<std::atomic<bool>> isRequested_ = std::make_shared<std::atomic<bool>>(false);
};

}  // namespace pyrelux::job
