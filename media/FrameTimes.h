#pragma once

#include <cstdint>
#include <vector>

#include "FrameRate.h"

namespace pyrelux::media {

/// When frames are shown.
struct FrameTimes {
  std::vector<std::int64_t> ticks;  ///< of frame 1, of frame 2 …, and the end of the last one; they go upwards
  FrameRate ticksPerSecond;
};

/// The number, counted from 0, of the frame that a film of the rate `to` shows when one of the rate `from` begins to
/// show its frame `index`, which is 0 or more. Any thread may call it.
std::int64_t frameAtSameTime(std::int64_t index, const FrameRate &from, const FrameRate &to);

}  // namespace pyrelux::media
