#include "FrameSink.h"

#include "HostError.h"

namespace pyrelux::cli {

void FrameSink::take(const Frame &frame) {
  if (frame.error) {
    takeFailure(frame);
  } else if (frame.isKept) {
    ++kept_;
    progress_.advance(frame.number, FrameEnd::Kept);
  } else {
    writer_.write(frame.number, frame.output);
    if (manifest_) manifest_->add(frame.number, frame.origin);
    ++rendered_;
    progress_.advance(frame.number, FrameEnd::Rendered);
  }
  if (rendered_ + kept_ > 0) tellFailures();
}

void FrameSink::takeFailure(const Frame &frame) {
  if (!manifest_) std::rethrow_exception(frame.error);
  std::string cause;
  try {
    std::rethrow_exception(frame.error);
  } catch (const media::InputError &error) {
    cause = error.what();
  } catch (const host::HostError &error) {
    cause = error.what();
  }
  untold_.push_back("frame " + std::to_string(frame.number) + ": " + cause);
  if (!firstFailure_) firstFailure_ = frame.error;
  ++failed_;
  progress_.advance(frame.number, FrameEnd::Failed);
}

void FrameSink::tellFailures() {
  for (const std::string &failure : untold_) progress_.say(failure);
  untold_.clear();
}

void FrameSink::finish() {
  if (failed_ > 0 && failed_ == done()) std::rethrow_exception(firstFailure_);
  if (rendered_ > 0) writer_.finish();
}

}  // namespace pyrelux::cli
