#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "Attempts.h"
#include "Plan.h"

namespace pyrelux::farm {

/// What became of a missing frame so far.
struct Trouble {
  std::string cause;               ///< of the last failure
  std::vector<std::string> nodes;  ///< where, each once
  int failures = 0;
  bool isItsOwn = false;  ///< a task named the frame, and not all of its frames failed

  /// No task tries it any more.
  bool isGivenUp() const;
};

/// Whether an attempt has no end and gave a sign lately. `time`: now, in seconds since 1970.
bool isRunning(const Plan &plan, const Attempt &attempt, double time);

/// Whether an attempt ended with a failure. Whoever stops a task does not blame its node.
bool hasFailed(const Attempt &attempt);

/// The attempts in the order of their beginnings.
std::vector<const Attempt *> byTime(const Attempts &attempts);

/// The missing frames that failed, or whose tasks failed or died before they had finished anything; of the latter each
/// round counts a node once, since a node that can do nothing says nothing about frames. `time`: now, in seconds since
/// 1970.
std::map<std::int64_t, Trouble> troubleOf(const Plan &plan, const Attempts &attempts, double time);

}  // namespace pyrelux::farm
