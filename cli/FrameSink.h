#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <vector>

#include "Pipeline.h"
#include "Progress.h"
#include "Writer.h"

namespace pyrelux::cli {

/// Where frames end: written, kept or failed, and counted. Thread: one at a time.
class FrameSink {
 public:
  /// `isSequence`: a frame may fail without the others; otherwise the first failure ends everything. All must outlive
  /// this.
  FrameSink(media::Writer &writer, bool isSequence, Progress &progress)
      : writer_(writer), isSequence_(isSequence), progress_(progress) {}

  /// Throws what the writer throws, and failures that end everything.
  void take(const Frame &frame);

  /// Completes the output. Throws what the writer throws, and the first frame's failure when all have failed.
  void finish();

  std::int64_t done() const { return rendered_ + kept_ + failed_; }
  std::int64_t kept() const { return kept_; }
  std::int64_t failed() const { return failed_; }

 private:
  void write(const Frame &frame);
  void takeFailure(std::int64_t frame, const std::exception_ptr &failure);
  void tellFailures();

  media::Writer &writer_;
  bool isSequence_;
  Progress &progress_;
  std::int64_t rendered_ = 0;
  std::int64_t kept_ = 0;
  std::int64_t failed_ = 0;
  std::exception_ptr firstFailure_;
  std::vector<std::string> untold_;  ///< until it is known that not every frame fails
};

}  // namespace pyrelux::cli
