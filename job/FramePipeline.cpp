#include "FramePipeline.h"

#include <atomic>
#include <condition_variable>
#include <future>
#include <mutex>
#include <vector>

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
  FramePool(const FrameList &frames, const Stages &stages, const StopToken &stop, int encoders)
      : frames_(frames), stages_(stages), stop_(stop), slots_(static_cast<std::size_t>(framesUnderWay(encoders))) {
    for (Frame &frame : slots_) toRead_.push(&frame);
  }

  void run(int encoders) {
    // Ended before they are waited for, whatever is thrown.
    std::future<void> reading;
    std::vector<std::future<void>> writing;
    const Ending ending{*this};
    reading = std::async(std::launch::async, [this] { readAll(); });
    for (int i = 0; i < encoders; ++i) writing.push_back(std::async(std::launch::async, [this] { writeAll(); }));
    drawAll();
    end();
    reading.get();
    for (std::future<void> &each : writing) each.get();
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
    std::int64_t turn = 0;
    while (const auto frame = toDraw_.pop()) {
      if (hasFailed_ || stop_.isRequested()) return;
      if (!(*frame)->error && !(*frame)->isKept) {
        attempt(stages_.draw, **frame);
        // What is stopped half-way is no failure.
        if ((*frame)->error && stop_.isRequested()) return;
      }
      (*frame)->input.reset();
      (*frame)->turn = turn++;
      toWrite_.push(*frame);
    }
  }

  void writeAll() {
    while (const auto frame = toWrite_.pop()) {
      const std::exception_ptr failure = encode(**frame);
      if (!waitForTurn((*frame)->turn)) return;
      try {
        if (failure) std::rethrow_exception(failure);
        stages_.write(**frame);
      } catch (...) {
        hasFailed_ = true;
        endTurn();
        toRead_.close();
        throw;
      }
      endTurn();
      toRead_.push(*frame);
    }
  }

  std::exception_ptr encode(Frame &frame) {
    if (hasFailed_ || frame.error || frame.isKept) return nullptr;
    try {
      stages_.encode(frame);
    } catch (...) {
      return std::current_exception();
    }
    return nullptr;
  }

  /// Returns once all frames before are written; false if one of them failed.
  bool waitForTurn(std::int64_t turn) {
    std::unique_lock<std::mutex> lock(mutex_);
    turnEnded_.wait(lock, [&] { return hasFailed_ || turn_ == turn; });
    return !hasFailed_;
  }

  void endTurn() {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++turn_;
    turnEnded_.notify_all();
  }

  const FrameList &frames_;
  const Stages &stages_;
  const StopToken &stop_;
  std::vector<Frame> slots_;
  BlockingQueue<Frame *> toRead_;
  BlockingQueue<Frame *> toDraw_;
  BlockingQueue<Frame *> toWrite_;
  std::atomic<bool> hasFailed_{false};
  std::mutex mutex_;
  std::condition_variable turnEnded_;
  std::int64_t turn_ = 0;  // how many are written
};

}  // namespace

void runPipeline(const FrameList &frames, const Stages &stages, const StopToken &stop, int encoders) {
  FramePool(frames, stages, stop, encoders).run(encoders);
}

}  // namespace pyrelux::job
