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
  std::int64_t turn = 0;               ///< how many are written before it
  std::shared_ptr<const Image> input;  ///< gone once it is drawn
  std::shared_ptr<const Image> back;   ///< the background's picture under it, if it is a file
  std::string sourceFingerprint;       ///< of what it is made from; empty where nobody asks
  bool isKept = false;                 ///< the output has it already, so it is not drawn
  bool isEnd = false;                  ///< there is none: the input ended before it, and no other is read
  Image output;
  std::function<void()> store;  ///< what is left of writing it
  std::exception_ptr error;     ///< why there is no output
};

/// What is done to a frame. `draw` is called on the caller's thread, the others on threads of their own. All but
/// `encode` get one frame after the other, in order.
struct Stages {
  std::function<void(Frame &)> read;
  std::function<void(Frame &)> draw;  ///< only for a frame that was read and is not kept
  /// Only for a frame that is drawn, or read as it is to be written. Several threads call it at the same time.
  std::function<void(Frame &)> encode = [](Frame &) {};
  std::function<void(Frame &)> write;
};

/// How many frames are in memory at the same time: one that is read, one that is drawn, one that waits, and those that
/// are encoded. A slow stage holds the others up.
constexpr int framesUnderWay(int encoders) { return 3 + encoders; }

/// Takes the frames through the stages, which work at the same time on different frames; `encoders` threads (1 at
/// least) encode, and write by turns. What `read` and `draw` throw becomes the frame's error. What `encode` and `write`
/// throw ends everything and is thrown here. Once `stop` is requested, no other frame is drawn, and frames that are
/// drawn are still written; a `draw` that throws then counts as stopped, not failed.
void runPipeline(const FrameList &frames, const Stages &stages, const StopToken &stop, int encoders = 1);

}  // namespace pyrelux::job
