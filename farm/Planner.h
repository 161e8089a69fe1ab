#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Plan.h"
#include "RenderListener.h"
#include "RenderRequest.h"
#include "StopToken.h"

namespace pyrelux::farm {

struct PlanOptions {
  std::filesystem::path folder;  ///< that is to be made; may be there if it is empty
  double chunkMinutes = 5.0;     ///< that a chunk takes where the farm is planned, above 0
  std::optional<int> tasks;      ///< how many chunks there are to be, at least 1; otherwise by time
  bool looksFirst = false;       ///< every tenth frame is in the first chunks
  bool copiesInput = false;      ///< into the folder, so that nothing else has to be on the nodes
  std::string program;           ///< the path of the program that tasks run where PATH has none
};

struct Planned {
  Plan plan;
  std::size_t chunks = 0;
  double seconds = 0.0;  ///< that one machine like this one would take
  /// Whether sharing the work out can win more than it costs.
  bool isWorthIt() const;
};

/// Looks at what can be refused, draws three frames to measure, cuts the frames into chunks, and writes the folder,
/// whole or not at all. Throws ValueError for a request that a farm can't follow, media::InputError,
/// media::OutputError, and what job::RenderJob::run() throws.
Planned planFarm(const job::RenderRequest &request, const PlanOptions &options, job::RenderListener &listener,
                 const job::StopToken &stop);

struct RetryOptions {
  double chunkMinutes = 5.0;  ///< as of PlanOptions
  std::optional<int> tasks;   ///< as of PlanOptions
  bool isAnew = false;        ///< earlier failures do not count any more
};

struct Retry {
  std::optional<Round> round;         ///< nothing if nothing is to be tried
  std::vector<std::int64_t> givenUp;  ///< frames that failed three times, in ascending order
};

/// Cuts what is missing and not given up into chunks of the plan's size, as a new round. Throws media::InputError,
/// media::OutputError.
Retry retryFarm(const std::filesystem::path &farm, const RetryOptions &options);

}  // namespace pyrelux::farm
