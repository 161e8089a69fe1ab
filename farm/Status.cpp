#include "Status.h"

#include <algorithm>
#include <map>

#include "Chunks.h"
#include "FarmFiles.h"
#include "Trouble.h"

namespace fs = std::filesystem;

namespace pyrelux::farm {

namespace {

double secondsOf(const Attempt &attempt) {
  return attempt.end ? attempt.end->seconds : std::max(attempt.lastSign - attempt.started, 0.0);
}

struct Tally {
  NodeStatus status;
  double seconds = 0.0;
  int failuresInARow = 0;
};

void note(Tally &tally, const Attempt &attempt, bool runs) {
  constexpr int mostFailures = 3;
  tally.status.node = attempt.node;
  tally.status.frames += attempt.finished;
  tally.seconds += secondsOf(attempt);
  tally.status.running += runs;
  tally.status.lost += !attempt.end && !runs;
  tally.status.failed += hasFailed(attempt);
  if (attempt.finished > 0)
    tally.failuresInARow = 0;
  else
    tally.failuresInARow += hasFailed(attempt);
  tally.status.isBad = tally.failuresInARow >= mostFailures;
}

std::vector<FailedFrame> failedOf(const std::map<std::int64_t, Trouble> &trouble) {
  std::vector<FailedFrame> list;
  for (const auto &[frame, one] : trouble)
    if (one.isItsOwn || one.isGivenUp()) list.push_back({frame, one.cause, one.nodes, one.isGivenUp()});
  return list;
}

}  // namespace

Status statusOf(const Plan &plan, const Attempts &attempts, double time) {
  Status status;
  status.total = plan.frames.count();
  status.missing = static_cast<std::int64_t>(missingOf(plan, attempts).size());
  status.done = status.total - status.missing;
  status.failed = failedOf(troubleOf(plan, attempts, time));
  std::map<std::string, Tally> nodes;
  for (const Attempt *attempt : byTime(attempts)) {
    const bool runs = isRunning(plan, *attempt, time);
    note(nodes[attempt->node], *attempt, runs);
    const double seconds = secondsOf(*attempt);
    if (runs && seconds > 0.0) status.framesPerSecond += static_cast<double>(attempt->finished) / seconds;
  }
  for (auto &[name, tally] : nodes) {
    if (tally.seconds > 0.0) tally.status.framesPerSecond = static_cast<double>(tally.status.frames) / tally.seconds;
    status.nodes.push_back(tally.status);
  }
  const double secondsPerFrame = status.framesPerSecond > 0.0 ? 1.0 / status.framesPerSecond : plan.secondsPerFrame;
  status.secondsLeft = static_cast<double>(status.missing) * secondsPerFrame;
  return status;
}

Status statusOf(const fs::path &farm) {
  const Plan plan = readPlan(farm);
  return statusOf(plan, readAttempts(farm), now());
}

std::vector<std::int64_t> missingOf(const Plan &plan, const Attempts &attempts) {
  std::vector<std::int64_t> missing;
  plan.frames.forEach([&](std::int64_t frame) {
    if (!attempts.has(frame)) missing.push_back(frame);
    return true;
  });
  return missing;
}

Missing whatIsMissing(const Plan &plan, const Attempts &attempts, double time) {
  const auto trouble = troubleOf(plan, attempts, time);
  Missing missing;
  for (const std::int64_t frame : missingOf(plan, attempts)) {
    const auto own = trouble.find(frame);
    const bool isGivenUp = own != trouble.end() && own->second.isGivenUp();
    (isGivenUp ? missing.givenUp : missing.toTry).push_back(frame);
  }
  return missing;
}

std::string whyMissing(const Attempts &attempts, std::int64_t frame) {
  std::string why = "no task has begun it";
  for (const Attempt *attempt : byTime(attempts)) {
    if (!attempt->frames.contains(frame)) continue;
    if (!attempt->end) {
      why = "its task at " + attempt->node + " has no end yet, or died";
      continue;
    }
    const auto own = attempt->end->failed.find(frame);
    const std::string cause = own != attempt->end->failed.end() ? own->second : attempt->end->cause;
    why = "its task at " + attempt->node + " failed: " + (cause.empty() ? "its picture is gone" : cause);
  }
  return why;
}

}  // namespace pyrelux::farm
