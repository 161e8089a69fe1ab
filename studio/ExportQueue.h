#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "FrameList.h"
#include "RenderRequest.h"
#include "StopToken.h"

namespace pyrelux::studio {

enum class ExportState { Waiting, Running, Done, Failed, Cancelled };

/// "waiting", "running", "done", "failed", "cancelled"
const char *stateName(ExportState state);

/// How far an export is.
struct ExportStatus {
  int id = 0;
  std::string output;
  ExportState state = ExportState::Waiting;
  std::int64_t frames = 0;
  std::int64_t done = 0;
  std::optional<double> secondsLeft = {};
  std::optional<std::uintmax_t> bytes = {};  ///< of a file that is complete
  std::string message = {};                  ///< why it failed, or how far it came
  std::vector<std::string> remarks = {};
  std::optional<std::string> command = {};  ///< the line that does the same; nothing where it takes a file
};

/// Renders that go on in the background, one after the other, on a thread of their own. Thread: any.
class ExportQueue {
 public:
  /// `changed` is called on the queue's thread or the caller's whenever a status has changed.
  explicit ExportQueue(std::function<void()> changed);
  /// Cancels all, and waits: a movie ends with the frame that is finished, and a picture is complete or not there.
  ~ExportQueue();
  ExportQueue(const ExportQueue &) = delete;
  ExportQueue &operator=(const ExportQueue &) = delete;

  /// `frames`: those of the request, which its plan has told. Returns the export's number.
  int add(job::RenderRequest request, const FrameList &frames, std::optional<std::string> command);

  /// As the render command ends when it is interrupted. Return whether there was anything to cancel.
  bool cancel(int id);
  bool cancelAll();

  /// Forgets those that are over.
  void clear();

  /// In the order in which they were added.
  std::vector<ExportStatus> list() const;

  bool isBusy() const;

 private:
  struct Job {
    job::RenderRequest request;
    FrameList frames;
    ExportStatus status;
    job::StopToken stop;
    std::chrono::steady_clock::time_point start = {};
  };
  class Listener;

  void work();
  void run(Job &job);
  bool cancel(Job &job);
  /// Changes a status under the lock, and tells of it.
  template <typename Change>
  void update(Change change);

  std::function<void()> told_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::list<Job> jobs_;  ///< nodes, so that those that run stay where they are
  int nextId_ = 1;
  bool isEnding_ = false;
  std::thread thread_;
};

}  // namespace pyrelux::studio
