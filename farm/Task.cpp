#include "Task.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <mutex>
#include <utility>

#include "BackendChoice.h"
#include "Chunks.h"
#include "Cores.h"
#include "FarmFiles.h"
#include "MediaErrors.h"
#include "RenderJob.h"
#include "Status.h"
#include "ValueError.h"

namespace fs = std::filesystem;

namespace pyrelux::farm {

namespace {

/// Passes everything on, and notes which frames failed. Of the pieces of one task, the first one starts.
class NotingListener : public job::RenderListener {
 public:
  NotingListener(job::RenderListener &next, std::int64_t frames) : next_(next), frames_(frames) {}

  void remark(const std::string &text) override { next_.remark(text); }
  void warn(const std::string &text) override { next_.warn(text); }
  void backendChosen(const std::string &name, const std::string &description) override {
    next_.backendChosen(name, description);
  }
  void started(std::int64_t) override {
    if (!std::exchange(hasStarted_, true)) next_.started(frames_);
  }
  void frameFinished(std::int64_t frame, job::FrameOutcome outcome) override { next_.frameFinished(frame, outcome); }
  void frameFailed(std::int64_t frame, const std::string &cause) override {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      failed_[frame] = cause;
    }
    next_.frameFailed(frame, cause);
  }
  void finished() override {}

  void end() {
    if (hasStarted_) next_.finished();
  }
  std::map<std::int64_t, std::string> failed() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return failed_;
  }

 private:
  job::RenderListener &next_;
  std::int64_t frames_;
  bool hasStarted_ = false;
  mutable std::mutex mutex_;
  std::map<std::int64_t, std::string> failed_;
};

/// Frames of a piece: what is lost when a task is killed takes as long as this.
std::size_t framesPerPiece(const Plan &plan) {
  constexpr double seconds = 20.0;
  constexpr double most = 1000.0;
  return static_cast<std::size_t>(std::clamp(std::ceil(seconds / std::max(plan.secondsPerFrame, 1e-6)), 1.0, most));
}

void add(TaskResult &total, const job::RenderResult &part) {
  total.rendered += part.rendered;
  total.failed += part.failed;
  total.isStopped |= part.isStopped;
}

void renderPieces(const Plan &plan, const FrameList &part, const fs::path &folder, TaskResult &total,
                  job::RenderListener &listener, const job::StopToken &stop) {
  const std::vector<std::int64_t> frames = numbersOf(part);
  const std::size_t length = framesPerPiece(plan);
  const std::string extension = fs::path(plan.request.output).extension().string();
  for (std::size_t from = 0; from < frames.size() && !total.isStopped; from += length) {
    const auto begin = frames.begin() + static_cast<std::ptrdiff_t>(from);
    const auto end = frames.begin() + static_cast<std::ptrdiff_t>(std::min(from + length, frames.size()));
    const fs::path path = folder / (std::to_string(*begin) + extension);
    const auto result = job::RenderJob(taskRequest(plan, path.string(), listOf({begin, end}))).run(listener, stop);
    add(total, result);
    // Of a piece that was stopped, the beginning is whole.
    if (result.rendered > 0) recordPiece(path, listOf({begin, begin + static_cast<std::ptrdiff_t>(result.rendered)}));
  }
}

void requireVersion(const Plan &plan) {
  if (plan.version != PYRELUX_VERSION)
    throw media::InputError("the farm was planned with pyrelux " + plan.version + ", and this is " + PYRELUX_VERSION +
                            "; use that version on every node, or plan anew");
}

/// Sums of floats have other last bits with other instructions.
void requireInstructions(const Plan &plan) {
  if (plan.instructions.empty()) return;
  // Before anything is drawn, which decides.
  ::setenv("PYRELUX_SIMD", plan.instructions.c_str(), 1);
  const std::string here = host::instructionsOf(host::chooseBackend(plan.request.backend));
  if (here != plan.instructions)
    throw media::InputError(
        "the farm was planned with " + plan.instructions + " instructions, and this processor has " + here +
        " at best, which gives other last bits; leave it out, or plan anew with PYRELUX_SIMD=" + here);
}

AttemptEnd endOf(const TaskResult &result) {
  AttemptEnd end;
  if (result.isStopped) {
    constexpr int terminated = 143;
    end.exitCode = terminated;
    end.cause = "it was told to stop";
  } else if (result.failed > 0) {
    end.exitCode = 1;
    end.cause = std::to_string(result.failed) + " frames failed";
  }
  return end;
}

AttemptEnd failure() {
  AttemptEnd end;
  end.exitCode = 1;
  try {
    throw;
  } catch (const std::exception &error) {
    end.cause = error.what();
  } catch (...) {
    end.cause = "an unknown failure";
  }
  return end;
}

}  // namespace

std::string pictureName(const Plan &plan) {
  return plan.product == Product::Sequence ? fs::path(plan.request.output).filename().string() : "p.%08d.exr";
}

TaskResult renderPart(const Plan &plan, const FrameList &part, const Place &place, job::RenderListener &listener,
                      const job::StopToken &stop) {
  TaskResult total;
  total.frames = part.count();
  if (plan.product == Product::Pieces)
    renderPieces(plan, part, place.pieces, total, listener, stop);
  else
    add(total, job::RenderJob(taskRequest(plan, place.pictures, part)).run(listener, stop));
  return total;
}

TaskResult runTask(const fs::path &farm, int round, int chunk, job::RenderListener &listener,
                   const job::StopToken &stop) {
  const Plan plan = readPlan(farm);
  const Round chunks = readRound(farm, round);
  if (chunk < 0 || chunk >= static_cast<int>(chunks.chunks.size()))
    throw ValueError("there is no chunk " + std::to_string(chunk) + "; round " + std::to_string(round) + " has 0-" +
                     std::to_string(chunks.chunks.size() - 1));
  const FrameList &chunkFrames = chunks.chunks[static_cast<std::size_t>(chunk)];
  Plan ofChunk = plan;
  ofChunk.frames = chunkFrames;
  const Missing missing = whatIsMissing(ofChunk, readAttempts(farm), now());
  TaskResult result;
  result.frames = chunkFrames.count();
  result.givenUp = static_cast<std::int64_t>(missing.givenUp.size());
  result.before = result.frames - result.givenUp - static_cast<std::int64_t>(missing.toTry.size());
  if (missing.toTry.empty()) return result;

  const FrameList part = listOf(missing.toTry);
  const Attempt attempt = beginAttempt(farm, round, chunk, part, coresInUse());
  NotingListener noting(listener, part.count());
  const auto record = [&](AttemptEnd end) {
    end.seconds = now() - attempt.started;
    end.failed = noting.failed();
    endAttempt(attempt, end);
  };
  try {
    requireVersion(plan);
    requireInstructions(plan);
    requireSame(plan.files, fs::absolute(farm));
    const TaskResult rendered =
        renderPart(plan, part, {picturesOf(attempt, pictureName(plan)), attempt.folder / "pieces"}, noting, stop);
    noting.end();
    result.rendered = rendered.rendered;
    result.failed = rendered.failed;
    result.isStopped = rendered.isStopped;
  } catch (...) {
    record(failure());
    throw;
  }
  record(endOf(result));
  return result;
}

}  // namespace pyrelux::farm
