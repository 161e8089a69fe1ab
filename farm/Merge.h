#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "FrameList.h"
#include "RenderListener.h"
#include "StopToken.h"

namespace pyrelux::farm {

struct MergeOptions {
  std::optional<std::string> output;  ///< otherwise the plan's; of the same extension
  bool replaces = false;              ///< output that is there already, as the plan may allow, too
  /// How long to look again for what is missing, since other machines' files may come late.
  std::chrono::milliseconds patience = std::chrono::seconds(3);
};

/// Frames that are missing for one reason.
struct Gap {
  FrameList frames{FrameRange{}};
  std::string why;
};

struct MergeResult {
  std::string output;
  std::int64_t frames = 0;
  std::vector<Gap> gaps;   ///< where there are any, nothing was written
  bool isStopped = false;  ///< ended by its token, without an output
};

/// Checks every picture against its fingerprint and makes the output of them. A picture that is not what was recorded
/// is renamed, so that a task renders it again. Pictures of a sequence that an earlier merge has left are kept. Throws
/// media::InputError, media::OutputError, media::EncoderError, ValueError.
MergeResult merge(const std::filesystem::path &farm, const MergeOptions &options, job::RenderListener &listener,
                  const job::StopToken &stop);

}  // namespace pyrelux::farm
