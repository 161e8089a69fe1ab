#include "PreRollWatch.h"

#include <algorithm>
#include <cmath>

namespace pyrelux::job {

bool PreRollWatch::operator()(std::int64_t next, std::int64_t frame) {
  if (stop_.isRequested()) return false;
  if (frame != target_) {
    target_ = frame;
    from_ = next;
    start_ = Clock::now();
  }
  // Looking at the clock costs as much as a frame on the way.
  constexpr std::int64_t between = 256;
  if (hasRemarked_ || (next - from_) % between != between - 1) return true;
  constexpr double longSeconds = 5.0;
  const double seconds = std::chrono::duration<double>(Clock::now() - start_).count();
  const double secondsLeft = seconds / static_cast<double>(next - from_) * static_cast<double>(frame - next);
  if (seconds < longSeconds || secondsLeft < longSeconds) return true;
  hasRemarked_ = true;
  listener_->remark("frame " + std::to_string(frame) + " depends on every frame from " + std::to_string(from_) +
                    " on; going through them takes about " + formatDuration(secondsLeft));
  return true;
}

std::string formatDuration(double seconds) {
  const struct {
    const char *name;
    double seconds;
  } units[] = {{" days", 86400.0}, {" hours", 3600.0}, {" minutes", 60.0}, {" seconds", 1.0}};
  const auto *unit = std::begin(units);
  while (unit != std::end(units) - 1 && seconds < 2.0 * unit->seconds) ++unit;
  return std::to_string(static_cast<std::int64_t>(std::ceil(std::min(seconds / unit->seconds, 1e15)))) + unit->name;
}

}  // namespace pyrelux::job
