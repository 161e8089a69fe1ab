#pragma once

#include <cstdint>
#include <functional>
#include <utility>

#include "Filter.h"
#include "FrameRenderer.h"

namespace pyrelux::host {

/// Renders frames that are the same to the bit however they are reached. A filter may carry something from frame to
/// frame (this one integrates its speeds), so that a frame depends on those before it. The run that counts goes through
/// every whole frame from the first; whoever starts later, skips or goes back is first taken through the frames
/// between, with a renderer that draws nothing. So is the first frame after the filter's parameters changed: no frame
/// depends on values that were in force earlier. Thread: one at a time.
class Timeline {
 public:
  /// The filter is not to be rendered by others meanwhile. Both must outlive this.
  Timeline(Filter &filter, FrameRenderer &renderer, std::int64_t firstFrame);

  /// Frame number `frame`, at that frame time. A frame before the first is rendered as the first of a run of its own.
  /// Otherwise as FrameRenderer::render(), whose errors it throws; afterwards the next frame starts from the beginning.
  void render(std::int64_t frame, const Image &input, const FrameSettings &settings, Image &result);

  /// Is told before each frame that is gone through on the way to another: `next` and the number of the other. Returns
  /// whether to go on; otherwise render() throws HostError.
  using RunUpListener = std::function<bool(std::int64_t next, std::int64_t frame)>;
  void setRunUpListener(RunUpListener listener) { runUpListener_ = std::move(listener); }

 private:
  void runUpTo(std::int64_t frame, const FrameSettings &settings);

  Filter &filter_;
  FrameRenderer &renderer_;
  FrameRenderer nothing_;  ///< draws nothing
  std::int64_t firstFrame_;
  RunUpListener runUpListener_;
  bool isReady_ = false;  ///< for the frame `next_`, after a run from `runFrom_` on
  std::int64_t runFrom_ = 0;
  std::uint64_t revision_ = 0;  ///< of the parameters that the run went through with
  std::int64_t next_ = 0;
};

}  // namespace pyrelux::host
