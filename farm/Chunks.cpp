#include "Chunks.h"

#include <algorithm>
#include <cstddef>

namespace pyrelux::farm {

namespace {

/// Cuts into `count` parts of the same length, or one frame longer.
void cutEvenly(const std::vector<std::int64_t> &frames, std::int64_t count, std::vector<FrameList> &chunks) {
  const auto total = static_cast<std::int64_t>(frames.size());
  for (std::int64_t part = 0; part < count; ++part) {
    const auto from = frames.begin() + total * part / count;
    const auto to = frames.begin() + total * (part + 1) / count;
    if (from != to) chunks.push_back(listOf({from, to}));
  }
}

std::int64_t roundedUp(std::size_t frames, std::int64_t perChunk) {
  return (static_cast<std::int64_t>(frames) + perChunk - 1) / perChunk;
}

}  // namespace

FrameList listOf(const std::vector<std::int64_t> &frames) {
  std::vector<FrameRange> ranges;
  for (std::size_t at = 0; at < frames.size();) {
    FrameRange range{frames[at], frames[at], 1};
    // Two frames are a range only in a row: "1-11x10" says no more than "1,11".
    if (at + 1 < frames.size()) {
      const std::int64_t step = frames[at + 1] - frames[at];
      std::size_t end = at + 1;
      while (end + 1 < frames.size() && frames[end + 1] - frames[end] == step) ++end;
      if (step == 1 || end - at >= 2) {
        range = {frames[at], frames[end], step};
        at = end;
      }
    }
    ranges.push_back(range);
    ++at;
  }
  return FrameList(std::move(ranges));
}

std::vector<std::int64_t> numbersOf(const FrameList &frames) {
  std::vector<std::int64_t> numbers;
  frames.forEach([&](std::int64_t frame) { return numbers.push_back(frame), true; });
  return numbers;
}

std::vector<FrameList> cutFrames(const std::vector<std::int64_t> &frames, const Cut &cut) {
  constexpr std::size_t lookStep = 10;
  std::vector<std::int64_t> looks;
  std::vector<std::int64_t> rest;
  for (std::size_t at = 0; at < frames.size(); ++at)
    (cut.looksFirst && at % lookStep == 0 ? looks : rest).push_back(frames[at]);
  // One chunk may be cut short twice.
  const std::int64_t most = maxChunks - (cut.looksFirst ? 1 : 0);
  const std::int64_t perChunk = std::max(std::max<std::int64_t>(cut.framesPerChunk, 1), roundedUp(frames.size(), most));
  std::vector<FrameList> chunks;
  cutEvenly(looks, roundedUp(looks.size(), perChunk), chunks);
  cutEvenly(rest, roundedUp(rest.size(), perChunk), chunks);
  return chunks;
}

}  // namespace pyrelux::farm
