#include "ExportQueue.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <filesystem>
#include <system_error>
#include <utility>

#include "RenderJob.h"
#include "RenderListener.h"
#include "Writer.h"

namespace fs = std::filesystem;

namespace pyrelux::studio {

namespace {

/// The frame at a place of the list, counted from 0.
std::int64_t frameAt(const FrameList &frames, std::int64_t place) {
  std::int64_t found = frames.last();
  frames.forEach([&](std::int64_t frame) {
    found = frame;
    return place-- > 0;
  });
  return found;
}

std::string frameCount(std::int64_t count) { return std::to_string(count) + (count == 1 ? " frame" : " frames"); }

}  // namespace

const char *stateName(ExportState state) {
  switch (state) {
    case ExportState::Waiting:
      return "waiting";
    case ExportState::Running:
      return "running";
    case ExportState::Done:
      return "done";
    case ExportState::Failed:
      return "failed";
    case ExportState::Cancelled:
      break;
  }
  return "cancelled";
}

template <typename Change>
void ExportQueue::update(Change change) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    change();
  }
  told_();
}

class ExportQueue::Listener : public job::RenderListener {
 public:
  Listener(ExportQueue &queue, Job &job) : queue_(queue), job_(job) {}

  bool hasStarted() const { return hasStarted_; }

  void remark(const std::string &text) override {
    queue_.update([&] { job_.status.remarks.push_back(text); });
  }
  void warn(const std::string &text) override { remark(text); }

  void started(std::int64_t) override {
    hasStarted_ = true;
    queue_.update([&] { job_.start = std::chrono::steady_clock::now(); });
  }

  void frameFinished(std::int64_t, job::FrameOutcome) override {
    queue_.update([&] {
      ExportStatus &status = job_.status;
      ++status.done;
      const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - job_.start;
      status.secondsLeft =
          taken.count() / static_cast<double>(status.done) * static_cast<double>(status.frames - status.done);
    });
  }

  void frameFailed(std::int64_t frame, const std::string &cause) override {
    queue_.update([&] {
      std::string &message = job_.status.message;
      if (message.empty()) message = "frame " + std::to_string(frame) + ": " + cause;
    });
  }

 private:
  ExportQueue &queue_;
  Job &job_;
  std::atomic<bool> hasStarted_{false};
};

ExportQueue::ExportQueue(std::function<void()> changed) : told_(std::move(changed)) {
  thread_ = std::thread([this] { work(); });
}

ExportQueue::~ExportQueue() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    isEnding_ = true;
    for (Job &job : jobs_) cancel(job);
    changed_.notify_all();
  }
  thread_.join();
}

int ExportQueue::add(job::RenderRequest request, const FrameList &frames, std::optional<std::string> command) {
  int id = 0;
  update([&] {
    Job job{std::move(request), frames, {}, {}};
    id = job.status.id = nextId_++;
    job.status.output = job.request.output;
    job.status.frames = frames.count();
    job.status.command = std::move(command);
    jobs_.push_back(std::move(job));
    changed_.notify_all();
  });
  return id;
}

bool ExportQueue::cancel(Job &job) {
  if (job.status.state == ExportState::Waiting) {
    job.status.state = ExportState::Cancelled;
    return true;
  }
  if (job.status.state != ExportState::Running) return false;
  job.stop.request();
  return true;
}

bool ExportQueue::cancel(int id) {
  bool isCancelled = false;
  update([&] {
    for (Job &job : jobs_)
      if (job.status.id == id) isCancelled = cancel(job);
  });
  return isCancelled;
}

bool ExportQueue::cancelAll() {
  bool isCancelled = false;
  update([&] {
    for (Job &job : jobs_) isCancelled = cancel(job) || isCancelled;
  });
  return isCancelled;
}

void ExportQueue::clear() {
  update([&] {
    jobs_.remove_if([](const Job &job) {
      return job.status.state != ExportState::Waiting && job.status.state != ExportState::Running;
    });
  });
}

std::vector<ExportStatus> ExportQueue::list() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<ExportStatus> all;
  for (const Job &job : jobs_) all.push_back(job.status);
  return all;
}

bool ExportQueue::isBusy() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return std::any_of(jobs_.begin(), jobs_.end(), [](const Job &job) {
    return job.status.state == ExportState::Waiting || job.status.state == ExportState::Running;
  });
}

void ExportQueue::work() {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    const auto next = std::find_if(jobs_.begin(), jobs_.end(),
                                   [](const Job &job) { return job.status.state == ExportState::Waiting; });
    if (next != jobs_.end()) {
      next->status.state = ExportState::Running;
      next->start = std::chrono::steady_clock::now();
      lock.unlock();
      told_();
      run(*next);
      lock.lock();
    } else if (isEnding_) {
      return;
    } else {
      changed_.wait(lock);
    }
  }
}

void ExportQueue::run(Job &job) {
  Listener listener(*this, job);
  ExportState state = ExportState::Failed;
  std::string message;
  try {
    const job::RenderResult result = job::RenderJob(job.request).run(listener, job.stop);
    if (result.isStopped) {
      state = ExportState::Cancelled;
      message = "ended after " + std::to_string(result.done()) + " of " + frameCount(result.frames);
    } else if (result.failed > 0) {
      message = frameCount(result.failed) + " of " + std::to_string(result.frames) + " failed; ";
    } else {
      state = ExportState::Done;
    }
  } catch (const std::exception &error) {
    if (job.stop.isRequested()) {
      state = ExportState::Cancelled;
      message = "ended before the first frame";
    } else {
      message = error.what();
    }
  }
  std::error_code error;
  const bool isWhole = state == ExportState::Done && !media::Writer::isSequence(job.request.output);
  const std::uintmax_t bytes =
      isWhole ? fs::file_size(media::Writer::pathOf(job.request.output, job.frames.first()), error) : 0;
  update([&] {
    ExportStatus &status = job.status;
    const bool failedLater = state == ExportState::Failed && listener.hasStarted() && status.message.empty();
    // Frames come in order, so that the one after those that are done is the one that failed.
    if (failedLater && status.done < status.frames)
      message = "frame " + std::to_string(frameAt(job.frames, status.done)) + ": " + message;
    status.message = message + (state == ExportState::Failed ? status.message : "");
    status.state = state;
    status.secondsLeft.reset();
    if (isWhole && !error) status.bytes = bytes;
  });
}

}  // namespace pyrelux::studio
