#pragma once

#include <cstdint>
#include <functional>
#include <utility>

#include "Filter.h"
#include "FilterTime.h"
#include "FrameRenderer.h"

namespace pyrelux::host {

/// Renders frames that are the same to the bit however they are reached. A filter may carry something from frame to
/// frame (this one integrates its speeds), so that a frame depends on those before it. The run that counts goes through
/// every whole frame from the first. A caller that starts later, skips frames or goes back gets a pre-roll first: the
/// frames between, on a backend that draws nothing. So does the first frame after the filter's parameters changed: no
/// frame depends on values that were in force earlier. Thread: one at a time.
class SequentialRenderer {
 public:
  /// Nobody else may render the filter meanwhile. Filter and renderer must outlive this.
  SequentialRenderer(Filter &filter, FrameRenderer &renderer, std::int64_t firstFrame, const FilterTime &time = {});

  /// Renders frame number `frame`, at its time. A frame before the first is the first of a run of its own.
  /// Throws what FrameRenderer::render() throws; the next frame then starts from the beginning.
  void render(std::int64_t frame, const Image &input, const FrameSettings &settings, Image &result);

  /// Called before each frame of a pre-roll with its number, `next`, and the number of the frame to be drawn. Returns
  /// whether to go on; otherwise render() throws HostError.
  using PreRollListener = std::function<bool(std::int64_t next, std::int64_t frame)>;
  void setPreRollListener(PreRollListener listener) { preRollListener_ = std::move(listener); }

 private:
  void preRollTo(std::int64_t frame, const FrameSettings &settings);

  Filter &filter_;
  FrameRenderer &renderer_;
  FrameRenderer nothing_;  ///< draws nothing
  std::int64_t firstFrame_;
  FilterTime time_;
  PreRollListener preRollListener_;
  bool isReady_ = false;  ///< for the frame `next_`, after a run from `runFrom_` on
  std::int64_t runFrom_ = 0;
  std::uint64_t revision_ = 0;  ///< of the parameters that the run went through with
  std::int64_t next_ = 0;
};

}  // namespace pyrelux::host
