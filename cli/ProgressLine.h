#pragma once

#include <chrono>
#include <cstdint>

namespace pyrelux::cli {

/// One line on standard error that tells how far a render is, when that is a terminal. Gone when the object is.
class ProgressLine {
 public:
  ProgressLine(std::int64_t frames, bool quiet);
  ~ProgressLine();
  ProgressLine(const ProgressLine &) = delete;
  ProgressLine &operator=(const ProgressLine &) = delete;

  /// One more frame is done.
  void advance();

 private:
  std::int64_t frames_;
  std::int64_t done_ = 0;
  bool visible_;
  std::chrono::steady_clock::time_point start_;
};

}  // namespace pyrelux::cli
