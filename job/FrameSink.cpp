#include "FrameSink.h"

#include "HostError.h"
#include "MediaErrors.h"

namespace pyrelux::job {

void FrameSink::take(const Frame &frame) {
  if (frame.error) {
    takeFailure(frame.number, frame.error);
  } else if (frame.isKept) {
    ++kept_;
    listener_.frameFinished(frame.number, FrameOutcome::Kept);
  } else {
    write(frame);
  }
  if (rendered_ + kept_ > 0) reportFailures();
}

void FrameSink::write(const Frame &frame) {
  try {
    frame.store();
  } catch (const media::InputError &) {
    // Of the background, which writers read.
    return takeFailure(frame.number, std::current_exception());
  }
  ++rendered_;
  listener_.frameFinished(frame.number, FrameOutcome::Rendered);
}

void FrameSink::takeFailure(std::int64_t frame, const std::exception_ptr &failure) {
  if (!isSequence_) std::rethrow_exception(failure);
  std::string cause;
  try {
    std::rethrow_exception(failure);
  } catch (const media::InputError &error) {
    cause = error.what();
  } catch (const host::HostError &error) {
    cause = error.what();
  }
  unreported_.emplace_back(frame, cause);
  if (!firstFailure_) firstFailure_ = failure;
  ++failed_;
  listener_.frameFinished(frame, FrameOutcome::Failed);
}

void FrameSink::reportFailures() {
  for (const auto &[frame, cause] : unreported_) listener_.frameFailed(frame, cause);
  unreported_.clear();
}

void FrameSink::finish() {
  if (failed_ > 0 && failed_ == done()) std::rethrow_exception(firstFailure_);
  if (rendered_ > 0) writer_.finish();
}

}  // namespace pyrelux::job
