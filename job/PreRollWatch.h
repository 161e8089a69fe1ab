#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>

#include "RenderListener.h"
#include "StopToken.h"

namespace pyrelux::job {

/// Watches a pre-roll: ends it when the job is to stop, and remarks once that it takes long. Thread: one at a time. The
/// listener must outlive it.
class PreRollWatch {
 public:
  PreRollWatch(RenderListener &listener, StopToken stop) : listener_(&listener), stop_(std::move(stop)) {}

  /// A host::SequentialRenderer::PreRollListener.
  bool operator()(std::int64_t next, std::int64_t frame);

 private:
  using Clock = std::chrono::steady_clock;

  RenderListener *listener_;
  StopToken stop_;
  std::int64_t target_ = -1;
  std::int64_t from_ = 0;
  Clock::time_point start_;
  bool hasRemarked_ = false;
};

/// "50 seconds", "3 minutes", "7 hours" or "40 days": rounded up, in the largest unit of which there are two.
std::string formatDuration(double seconds);

}  // namespace pyrelux::job
