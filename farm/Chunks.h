#pragma once

#include <cstdint>
#include <vector>

#include "FrameList.h"

namespace pyrelux::farm {

/// The most chunks that are cut at a time: job arrays of clusters usually end there.
constexpr std::int64_t maxChunks = 1000;

/// How frames are cut.
struct Cut {
  std::int64_t framesPerChunk = 1;  ///< at least 1; raised where there would be more than maxChunks
  bool looksFirst = false;          ///< every tenth frame is in the first chunks
};

/// The frames as ranges. `frames`: in ascending order, at least one.
FrameList listOf(const std::vector<std::int64_t> &frames);

/// All of the frames, in ascending order.
std::vector<std::int64_t> numbersOf(const FrameList &frames);

/// Cuts frames into chunks, each frame into one, in the order in which they are to be rendered. `frames`: in ascending
/// order. Chunks differ by one frame at most.
std::vector<FrameList> cutFrames(const std::vector<std::int64_t> &frames, const Cut &cut);

}  // namespace pyrelux::farm
