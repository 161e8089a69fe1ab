#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>

#include "FrameList.h"
#include "Image.h"
#include "StopToken.h"

namespace pyrelux::job {

/// A frame on its way from the input to the output.
struct Frame {
  std::int64_t number = 0;
  std::shared_ptr<const Image> input;  ///< gone once it is drawn
  std::shared_ptr<const Image> back;   ///< the background's picture under it, if it is a file
  std::string sourceFingerprint;       ///< of what it is made from; empty where nobody asks
  bool isKept = false;                 ///< the output has it already, so it is not drawn
  bool isEnd = false;                  ///< there is none: the input ended before it, and no other is read
  Image output;
  std::exception_ptr error;  ///< why there is no output
};

/// What is done to a frame. `read` and `write` are called on threads of their own, `draw` on the caller's; each gets
/// one frame after the other, in order.
struct Stages {
  std::function<void(Frame &)> read;
  std::function<void(Frame &)> draw;  ///< only for a frame that was read and is not kept
  std::function<void(Frame &)> write;
};

/// How many frames are in memory at the same time: one in each stage, and one between them. A slow stage holds the
/// others up.
constexpr int framesUnderWay = 4;

/// Takes the frames through the stages, which work at the same time on different frames. What `read` and `draw` throw
/// becomes the frame's error. What `write` throws ends everything and is thrown here. Once `stop` is requested, no
/// other frame is drawn, and frames that are drawn are still written; a `draw` that throws then counts as stopped, not
/// failed.
void runPipeline(const FrameList &frames, const Stages &stages, const StopToken &stop);

}  // namespace pyrelux::job
