#pragma once

#include <filesystem>

#include "Attempts.h"
#include "Plan.h"
#include "RenderListener.h"
#include "StopToken.h"

namespace pyrelux::farm {

struct TaskResult {
  std::int64_t frames = 0;   ///< of the chunk
  std::int64_t before = 0;   ///< that other attempts had finished
  std::int64_t givenUp = 0;  ///< that failed three times, and were not tried
  std::int64_t rendered = 0;
  std::int64_t failed = 0;
  bool isStopped = false;  ///< ended by its token; what was finished counts
};

/// Where a measure or an attempt leaves what it renders.
struct Place {
  std::string pictures;          ///< a sequence's name, for products of pictures
  std::filesystem::path pieces;  ///< a folder, for pieces
};

/// Renders a part of the frames and records pieces. Throws what job::RenderJob::run() throws.
TaskResult renderPart(const Plan &plan, const FrameList &part, const Place &place, job::RenderListener &listener,
                      const job::StopToken &stop);

/// The pictures' name in a folder.
std::string pictureName(const Plan &plan);

/// Renders what is missing of a chunk, in an attempt of its own, and records how it ends. Any number may run at the
/// same time, of the same chunk, too. Sets PYRELUX_SIMD to what the farm was planned with.
/// Throws media::InputError when the farm, its inputs, this program or this processor are not those that were planned,
/// and what job::RenderJob::run() throws.
TaskResult runTask(const std::filesystem::path &farm, int round, int chunk, job::RenderListener &listener,
                   const job::StopToken &stop);

}  // namespace pyrelux::farm
