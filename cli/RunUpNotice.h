#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace pyrelux::cli {

/// Watches a timeline go through the frames before the one to be drawn: ends that on a signal, and says once that it
/// takes long. Thread: one at a time.
class RunUpNotice {
 public:
  /// `say` tells a person.
  explicit RunUpNotice(std::function<void(const std::string &)> say) : say_(std::move(say)) {}

  /// A host::Timeline::RunUpListener.
  bool operator()(std::int64_t next, std::int64_t frame);

 private:
  using Clock = std::chrono::steady_clock;

  std::function<void(const std::string &)> say_;
  std::int64_t target_ = -1;
  std::int64_t from_ = 0;
  Clock::time_point start_;
  bool hasSaid_ = false;
};

/// "50 seconds", "3 minutes", "7 hours" or "40 days": rounded up, in the largest unit of which there are two.
std::string formatDuration(double seconds);

}  // namespace pyrelux::cli
