#include "Progress.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <nlohmann/json.hpp>

#include "Message.h"

namespace pyrelux::cli {

namespace {

const char *nameOf(job::FrameOutcome outcome) {
  switch (outcome) {
    case job::FrameOutcome::Rendered:
      return "rendered";
    case job::FrameOutcome::Kept:
      return "kept";
    case job::FrameOutcome::Failed:
      break;
  }
  return "failed";
}

}  // namespace

const std::vector<std::string> &progressNames() {
  static const std::vector<std::string> names{"auto", "line", "json", "none"};
  return names;
}

Progress::Progress(const Reporting &reporting, std::int64_t frames)
    : line_(reporting.progress == "line" || (reporting.progress == "auto" && isatty(STDERR_FILENO))),
      json_(reporting.progress == "json"),
      row_(reporting.row),
      frames_(frames),
      start_(std::chrono::steady_clock::now()) {}

Progress::~Progress() { eraseLine(); }

void Progress::say(const std::string &message) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  eraseLine();
  cli::say(message);
}

void Progress::advance(std::int64_t frame, job::FrameOutcome outcome) {
  const std::lock_guard<std::mutex> lock(mutex_);
  ++done_;
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  const double rate = static_cast<double>(done_) / seconds;
  const double secondsLeft = static_cast<double>(frames_ - done_) / rate;
  if (line_) showLine(rate, secondsLeft);
  if (!json_) return;
  using json = nlohmann::ordered_json;
  const bool isKnown = frames_ > 0;
  json object;
  if (row_ > 0) object["row"] = row_;
  object.update({{"frame", frame},
                 {"end", nameOf(outcome)},
                 {"done", done_},
                 {"total", isKnown ? json(frames_) : json()},
                 {"seconds", seconds},
                 {"frames_per_second", rate},
                 {"seconds_left", isKnown ? json(secondsLeft) : json()}});
  // At once, for whoever watches.
  std::cout << object.dump() << std::endl;
}

void Progress::eraseLine() const {
  if (line_) std::fputs("\r\033[K", stderr);
}

void Progress::showLine(double rate, double secondsLeft) const {
  const std::string row = row_ > 0 ? "row " + std::to_string(row_) + " " : "";
  if (frames_ == 0) {
    std::fprintf(stderr, "\r\033[K%sframe %lld, %.1f frames/s", row.c_str(), static_cast<long long>(done_), rate);
    std::fflush(stderr);
    return;
  }
  constexpr int cells = 20;
  const auto full = static_cast<int>(done_ * cells / frames_);
  const auto left = static_cast<long>(secondsLeft);
  std::fprintf(stderr, "\r\033[K%s[%.*s%.*s] frame %lld of %lld, %.1f frames/s, %ld:%02ld left", row.c_str(), full,
               "####################", cells - full, "--------------------", static_cast<long long>(done_),
               static_cast<long long>(frames_), rate, left / 60, left % 60);
  std::fflush(stderr);
}

}  // namespace pyrelux::cli
