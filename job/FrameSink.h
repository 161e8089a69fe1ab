#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "FramePipeline.h"
#include "RenderListener.h"
#include "Writer.h"

namespace pyrelux::job {

/// Where frames end: written, kept or failed, and counted. Thread: one at a time.
class FrameSink {
 public:
  /// `isSequence`: a frame may fail without the others; otherwise the first failure ends everything. All must outlive
  /// this.
  FrameSink(media::Writer &writer, bool isSequence, RenderListener &listener)
      : writer_(writer), isSequence_(isSequence), listener_(listener) {}

  /// Throws what the writer throws, and failures that end everything.
  void take(const Frame &frame);

  /// Completes the output. Throws what the writer throws, and the first frame's failure when all have failed.
  void finish();

  std::int64_t done() const { return rendered_ + kept_ + failed_; }
  std::int64_t rendered() const { return rendered_; }
  std::int64_t kept() const { return kept_; }
  std::int64_t failed() const { return failed_; }

 private:
  void write(const Frame &frame);
  void takeFailure(std::int64_t frame, const std::exception_ptr &failure);
  void reportFailures();

  media::Writer &writer_;
  bool isSequence_;
  RenderListener &listener_;
  std::int64_t rendered_ = 0;
  std::int64_t kept_ = 0;
  std::int64_t failed_ = 0;
  std::exception_ptr firstFailure_;
  std::vector<std::pair<std::int64_t, std::string>> unreported_;  ///< until it is known that not every frame fails
};

}  // namespace pyrelux::job
