#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace pyrelux::cli {

/// The words that say how a render tells how far it is: "line" (one line on standard error, gone at the end), "json"
/// (an object for every frame on standard output, a line each), "none", and "auto", which is a line on a terminal.
const std::vector<std::string> &progressNames();

/// Tells how far a render is.
class Progress {
 public:
  Progress(const std::string &name, std::int64_t frames);
  ~Progress();
  Progress(const Progress &) = delete;
  Progress &operator=(const Progress &) = delete;

  /// One more frame is done: this one.
  void advance(std::int64_t frame);

  std::int64_t done() const { return done_; }

 private:
  void showLine(double rate, double secondsLeft) const;

  bool line_;
  bool json_;
  std::int64_t frames_;
  std::int64_t done_ = 0;
  std::chrono::steady_clock::time_point start_;
};

}  // namespace pyrelux::cli
