#include "TouchedBorders.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "Joined.h"

namespace pyrelux::job {

namespace {

constexpr std::array<const char *, 4> sideNames{"top", "right", "bottom", "left"};

/// Calls see(pixel) with the index of the first sample of each pixel at a side, until it returns true. Returns whether
/// it did.
template <typename See>
bool anyAtSide(std::size_t side, int width, int height, See see) {
  const bool isRow = side % 2 == 0;
  const int fixed = side == 1 ? width - 1 : side == 2 ? height - 1 : 0;
  for (int along = 0; along < (isRow ? width : height); ++along) {
    const std::size_t x = static_cast<std::size_t>(isRow ? along : fixed);
    const std::size_t y = static_cast<std::size_t>(isRow ? fixed : along);
    if (see(4 * (y * static_cast<std::size_t>(width) + x))) return true;
  }
  return false;
}

/// Whether one of a side's samples, from `channel` of each pixel on, is above this share of the full level.
bool isAbove(const Image &image, std::size_t side, std::size_t channel, float level) {
  return anyAtSide(side, image.width(), image.height(), [&](std::size_t pixel) {
    for (std::size_t sample = pixel + channel; sample < pixel + 4; ++sample)
      if (image.isFloat() ? image.asFloats()[sample] > level
                          : static_cast<float>(image.asBytes()[sample]) > 255.0f * level)
        return true;
    return false;
  });
}

}  // namespace

void TouchedBorders::look(std::int64_t frame, const Image &input, const Image &output) {
  // What is darker than this does not look cut off.
  constexpr float visible = 0.02f;
  constexpr std::size_t alpha = 3;
  ++frames_;
  for (std::size_t side = 0; side < sides_.size(); ++side) {
    if (!isAbove(output, side, 0, visible) || isAbove(input, side, alpha, 0.0f)) continue;
    if (sides_[side].frames++ == 0) sides_[side].firstFrame = frame;
  }
}

void TouchedBorders::remark(RenderListener &listener) const {
  std::vector<std::string> names;
  Side worst;
  for (std::size_t side = 0; side < sides_.size(); ++side) {
    if (sides_[side].frames == 0) continue;
    names.push_back(sideNames[side]);
    worst.firstFrame =
        worst.frames == 0 ? sides_[side].firstFrame : std::min(worst.firstFrame, sides_[side].firstFrame);
    worst.frames = std::max(worst.frames, sides_[side].frames);
  }
  if (names.empty()) return;
  listener.remark("the fire is cut off at the " + joined(names, ", ") + " of " + std::to_string(worst.frames) + " of " +
                  std::to_string(frames_) + " frames, first of frame " + std::to_string(worst.firstFrame) +
                  "; --pad auto makes room for it");
}

}  // namespace pyrelux::job
