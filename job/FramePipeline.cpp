#include "FramePipeline.h"

#include <array>
#include <atomic>
#include <future>

#include "BlockingQueue.h"

namespace pyrelux::job {

namespace {

void attempt(const std::function<void(Frame &)> &stage, Frame &frame) {
  try {
    stage(frame);
  } catch (...) {
    frame.error = std::current_exception();
  }
}

/// The same few frames go round, so that there are never more, and their memory is used again.
class FramePool {
 public:
  FramePool(const FrameList &frames, const Stages &stages, const StopToken &stop)
      : frames_(frames), stages_(stages), stop_(stop) {
    for (Frame &frame : slots_) toRead_.push(&frame);
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
    FramePool &pool;
    ~Ending() { pool.end(); }
  };

  void end() {
    toRead_.close();
    toWrite_.close();
  }

  void readAll() {
    frames_.forEach([this](std::int64_t number) {
      const auto frame = toRead_.pop();
      if (!frame) return false;
      (*frame)->number = number;
      (*frame)->isKept = false;
      (*frame)->error = nullptr;
      (*frame)->isEnd = false;
      attempt(stages_.read, **frame);
      if ((*frame)->isEnd) return false;
      toDraw_.push(*frame);
      return !stop_.isRequested();
    });
    toDraw_.close();
  }

  void drawAll() {
    while (const auto frame = toDraw_.pop()) {
      if (hasFailed_ || stop_.isRequested()) return;
      if (!(*frame)->error && !(*frame)->isKept) {
        attempt(stages_.draw, **frame);
        // What is stopped half-way is no failure.
        if ((*frame)->error && stop_.isRequested()) return;
      }
      (*frame)->input.reset();
      toWrite_.push(*frame);
    }
  }

  void writeAll() {
    while (const auto frame = toWrite_.pop()) {
      try {
        stages_.write(**frame);
      } catch (...) {
        hasFailed_ = true;
        toRead_.close();
        throw;
      }
      toRead_.push(*frame);
    }
  }

  const FrameList &frames_;
  const Stages &stages_;
  const StopToken &stop_;
  std::array<Frame, framesUnderWay> slots_;
  BlockingQueue<Frame *> toRead_;
  BlockingQueue<Frame *> toDraw_;
  BlockingQueue<Frame *> toWrite_;
  std::atomic<bool> hasFailed_{false};
};

}  // namespace

void runPipeline(const FrameList &frames, const Stages &stages, const StopToken &stop) {
  FramePool(frames, stages, stop).run();
}

}  // namespace pyrelux::job
