#include "ProgressLine.h"

#include <unistd.h>

#include <cstdio>

namespace pyrelux::cli {

ProgressLine::ProgressLine(std::int64_t frames, bool quiet)
    : frames_(frames), visible_(!quiet && isatty(STDERR_FILENO)), start_(std::chrono::steady_clock::now()) {}

ProgressLine::~ProgressLine() {
  if (visible_) std::fputs("\r\033[K", stderr);
}

void ProgressLine::advance() {
  ++done_;
  if (!visible_) return;
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  const double rate = static_cast<double>(done_) / seconds;
  const auto left = static_cast<long>(static_cast<double>(frames_ - done_) / rate);
  std::fprintf(stderr, "\r\033[Kframe %lld of %lld, %.1f frames/s, %ld:%02ld left", static_cast<long long>(done_),
               static_cast<long long>(frames_), rate, left / 60, left % 60);
  std::fflush(stderr);
}

}  // namespace pyrelux::cli
