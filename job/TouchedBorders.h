#pragma once

#include <array>
#include <cstdint>

#include "Image.h"
#include "RenderListener.h"

namespace pyrelux::job {

/// Watches for fire that is cut off at a border of the frame. Thread: one at a time.
class TouchedBorders {
 public:
  /// `input`: what burns in the frame; where it lies at a border itself, nothing is cut off by lack of room. `output`:
  /// premultiplied, of the same size.
  void look(std::int64_t frame, const Image &input, const Image &output);

  /// Remarks at which borders that was so, if at any.
  void remark(RenderListener &listener) const;

 private:
  struct Side {
    std::int64_t firstFrame = 0;
    std::int64_t frames = 0;
  };
  std::array<Side, 4> sides_;  ///< top, right, bottom, left
  std::int64_t frames_ = 0;
};

}  // namespace pyrelux::job
