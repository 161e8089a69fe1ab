#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "RenderListener.h"
#include "Reporting.h"

namespace pyrelux::cli {

/// The words that say how a render tells how far it is: "line" (one line on standard error, gone at the end), "json"
/// (an object for every frame on standard output, a line each), "none", and "auto", which is a line on a terminal.
const std::vector<std::string> &progressNames();

/// Tells how far a render is. Thread: any.
class Progress {
 public:
  /// `frames`: 0 if nobody knows.
  Progress(const Reporting &reporting, std::int64_t frames);
  ~Progress();
  Progress(const Progress &) = delete;
  Progress &operator=(const Progress &) = delete;

  /// One more frame is done with: this one.
  void advance(std::int64_t frame, job::FrameOutcome outcome);

  /// Tells a message, as say() does, without a line in its way.
  void say(const std::string &message) const;

 private:
  void eraseLine() const;
  void showLine(double rate, double secondsLeft) const;

  mutable std::mutex mutex_;
  bool line_;
  bool json_;
  int row_;  ///< of a batch; 0 for none
  std::int64_t frames_;
  std::int64_t done_ = 0;
  std::chrono::steady_clock::time_point start_;
};

}  // namespace pyrelux::cli
