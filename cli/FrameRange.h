#pragma once

#include <cstdint>
#include <string>

#include "Media.h"

namespace pyrelux::cli {

/// What a person typed is not what the option takes. what() is one sentence without a final stop.
class UsageError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Frames from first to last, both included.
struct FrameRange {
  std::int64_t first = 1;
  std::int64_t last = 1;
  std::int64_t count() const { return last - first + 1; }
};

/// "7" or "1-48"; frame numbers are whole and not negative. Throws UsageError.
FrameRange parseFrameRange(const std::string &text);

/// "24", "23.976" or "30000/1001", above 0 and up to 1000 frames per second. The decimal names of the NTSC rates mean
/// their exact fractions. Throws UsageError.
media::FrameRate parseFrameRate(const std::string &text);

}  // namespace pyrelux::cli
