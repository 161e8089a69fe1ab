#include "TerminalListener.h"

#include "Message.h"

namespace pyrelux::cli {

void TerminalListener::remark(const std::string &text) {
  if (!reporting_.quiet) warn(text);
}

void TerminalListener::warn(const std::string &text) {
  if (progress_)
    progress_->say(text);
  else
    say(text);
}

void TerminalListener::backendChosen(const std::string &name, const std::string &description) {
  if (reporting_.verbose) say("drawing with " + name + ": " + description);
}

void TerminalListener::started(std::int64_t frames) {
  if (!signals_) signals_.emplace(stop_);
  progress_.emplace(reporting_, frames);
}

void TerminalListener::frameFinished(std::int64_t frame, job::FrameOutcome outcome) {
  progress_->advance(frame, outcome);
}

void TerminalListener::frameFailed(std::int64_t frame, const std::string &cause) {
  warn("frame " + std::to_string(frame) + ": " + cause);
}

void TerminalListener::finished() { progress_.reset(); }

}  // namespace pyrelux::cli
