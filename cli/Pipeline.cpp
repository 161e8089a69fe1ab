#include "Pipeline.h"

#include <array>
#include <atomic>
#include <future>

#include "Channel.h"

namespace pyrelux::cli {

namespace {

void attempt(const std::function<void(Frame &)> &stage, Frame &frame) {
  try {
    stage(frame);
  } catch (...) {
    frame.error = std::current_exception();
  }
}

/// The same few frames go round, so that there are never more, and their memory is used again.
class Carousel {
 public:
  Carousel(const FrameList &frames, const Stages &stages, const std::function<bool()> &stop)
      : frames_(frames), stages_(stages), stop_(stop) {
    for (Frame &frame : round_) toRead_.send(&frame);
  }

  void run() {
    // Ended before they are waited for, whatever is thrown.
    std::future<void> reading;
    std::future<void> writing;
    const Ending ending{*this};
    reading = std::async(std::launch::async, [this] { readAll(); });
    writing = std::async(std::launch::async, [this] { writeAll(); });
    drawAll();
    end();
    reading.get();
    writing.get();
  }

 private:
  struct Ending {
    Carousel &carousel;
    ~Ending() { carousel.end(); }
  };

  void end() {
    toRead_.close();
    toWrite_.close();
  }

  void readAll() {
    frames_.forEach([this](std::int64_t number) {
      const auto frame = toRead_.receive();
      if (!frame) return false;
      (*frame)->number = number;
      (*frame)->isKept = false;
      (*frame)->error = nullptr;
      attempt(stages_.read, **frame);
      toDraw_.send(*frame);
      return !stop_();
    });
    toDraw_.close();
  }

  void drawAll() {
    while (const auto frame = toDraw_.receive()) {
      if (hasFailed_ || stop_()) return;
      if (!(*frame)->error && !(*frame)->isKept) {
        attempt(stages_.draw, **frame);
        // What is stopped half-way is no failure.
        if ((*frame)->error && stop_()) return;
      }
      (*frame)->input.reset();
      toWrite_.send(*frame);
    }
  }

  void writeAll() {
    while (const auto frame = toWrite_.receive()) {
      try {
        stages_.write(**frame);
      } catch (...) {
        hasFailed_ = true;
        toRead_.close();
        throw;
      }
      toRead_.send(*frame);
    }
  }

  const FrameList &frames_;
  const Stages &stages_;
  const std::function<bool()> &stop_;
  std::array<Frame, framesUnderWay> round_;
  Channel<Frame *> toRead_;
  Channel<Frame *> toDraw_;
  Channel<Frame *> toWrite_;
  std::atomic<bool> hasFailed_{false};
};

}  // namespace

void runPipeline(const FrameList &frames, const Stages &stages, const std::function<bool()> &stop) {
  Carousel(frames, stages, stop).run();
}

}  // namespace pyrelux::cli
