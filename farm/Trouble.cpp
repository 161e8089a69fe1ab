#include "Trouble.h"

#include <algorithm>
#include <set>
#include <tuple>

namespace pyrelux::farm {

namespace {

constexpr int mostFailures = 3;

/// Without a sign for that long, a task counts as lost; in seconds. Clocks of machines differ by less.
double patienceOf(const Plan &plan) {
  constexpr double least = 120.0;
  constexpr double frames = 30.0;
  return std::max(least, frames * plan.secondsPerFrame);
}

void note(Trouble &trouble, const std::string &node, const std::string &cause) {
  ++trouble.failures;
  trouble.cause = cause;
  if (std::find(trouble.nodes.begin(), trouble.nodes.end(), node) == trouble.nodes.end()) trouble.nodes.push_back(node);
}

}  // namespace

bool Trouble::isGivenUp() const { return failures >= mostFailures; }

bool isRunning(const Plan &plan, const Attempt &attempt, double time) {
  return !attempt.end && time - attempt.lastSign < patienceOf(plan);
}

bool hasFailed(const Attempt &attempt) {
  constexpr int signalled = 128;
  return attempt.end && attempt.end->exitCode != 0 && attempt.end->exitCode < signalled;
}

std::vector<const Attempt *> byTime(const Attempts &attempts) {
  std::vector<const Attempt *> order;
  for (const Attempt &attempt : attempts.all) order.push_back(&attempt);
  std::stable_sort(order.begin(), order.end(),
                   [](const Attempt *a, const Attempt *b) { return a->started < b->started; });
  return order;
}

std::map<std::int64_t, Trouble> troubleOf(const Plan &plan, const Attempts &attempts, double time) {
  std::map<std::int64_t, Trouble> all;
  std::set<std::tuple<std::int64_t, int, std::string>> counted;
  for (const Attempt *attempt : byTime(attempts)) {
    if (attempt->round < attempts.countsFrom) continue;
    const bool isLost = !attempt->end && !isRunning(plan, *attempt, time);
    if (attempt->end)
      for (const auto &[frame, cause] : attempt->end->failed) {
        if (attempts.has(frame)) continue;
        note(all[frame], attempt->node, cause);
        all[frame].isItsOwn = true;
      }
    if (attempt->finished > 0 || !(isLost || hasFailed(*attempt))) continue;
    attempt->frames.forEach([&](std::int64_t frame) {
      const bool isNamed = attempt->end && attempt->end->failed.count(frame) > 0;
      if (!isNamed && !attempts.has(frame) && counted.insert({frame, attempt->round, attempt->node}).second)
        note(all[frame], attempt->node, isLost ? "its task died" : attempt->end->cause);
      return true;
    });
  }
  return all;
}

}  // namespace pyrelux::farm
