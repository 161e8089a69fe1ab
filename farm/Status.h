#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "Attempts.h"
#include "Plan.h"

namespace pyrelux::farm {

/// What one machine has done.
struct NodeStatus {
  std::string node;
  std::int64_t frames = 0;       ///< finished
  double framesPerSecond = 0.0;  ///< while its tasks ran
  int running = 0;               ///< tasks that have no end and gave a sign lately
  int lost = 0;                  ///< tasks that have no end and give no sign any more
  int failed = 0;                ///< tasks that ended with a failure
  bool isBad = false;            ///< three tasks failed and nothing was finished since; submit leaves it out
};

/// A frame that failed, or was given up, and is still missing.
struct FailedFrame {
  std::int64_t frame = 0;
  std::string cause;
  std::vector<std::string> nodes;  ///< where, each once
  bool isGivenUp = false;          ///< it failed three times, and no task tries it again
};

struct Status {
  std::int64_t total = 0;
  std::int64_t done = 0;
  std::int64_t missing = 0;         ///< the failed ones among them
  std::vector<FailedFrame> failed;  ///< in the order of the frames
  std::vector<NodeStatus> nodes;    ///< by name
  double framesPerSecond = 0.0;     ///< of the tasks that run
  double secondsLeft = 0.0;         ///< by that rate; of one machine as it was measured if nothing runs
};

/// Tells it from what was read. `time`: now, in seconds since 1970.
Status statusOf(const Plan &plan, const Attempts &attempts, double time);

/// Reads the folder and tells. Throws media::InputError.
Status statusOf(const std::filesystem::path &farm);

/// The frames that nobody has finished, in ascending order.
std::vector<std::int64_t> missingOf(const Plan &plan, const Attempts &attempts);

/// Missing frames, each in ascending order.
struct Missing {
  std::vector<std::int64_t> toTry;
  std::vector<std::int64_t> givenUp;  ///< that failed three times
};

/// `time`: now, in seconds since 1970.
Missing whatIsMissing(const Plan &plan, const Attempts &attempts, double time);

/// Why a frame is missing: the last failure of a task that had it, or that none has begun it. One sentence's end.
std::string whyMissing(const Attempts &attempts, std::int64_t frame);

}  // namespace pyrelux::farm
