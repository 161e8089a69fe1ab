#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Document.h"
#include "Filter.h"
#include "RenderPlan.h"

namespace pyrelux::studio {

/// Sources that are open, for several plans. Thread: whoever reads from them holds the mutex.
struct OpenSources {
  OpenSources(const job::RenderRequest &request, int drawBits, job::RenderListener &listener)
      : sources(request, drawBits, listener) {}

  std::mutex mutex;
  job::Sources sources;
  std::string key;                   ///< of all that decided what was opened; empty if no other plan may use them
  std::vector<std::string> remarks;  ///< of the opening
};

/// A content with all decided that its frames depend on: the same as the render command decides it for a movie or
/// sequence. Plans do not change, and any thread may read them.
struct Plan {
  job::ReadRequest read;
  std::shared_ptr<OpenSources> open;
  media::InputInfo info;  ///< of the input in its room
  FrameList frames;
  FrameRate rate;
  job::PlannedFire planned;
  std::vector<std::string> remarks;

  const job::Fire &fire() const { return planned.fire; }
  std::int64_t firstFrame() const { return planned.clock.firstFrame; }
  /// Bits per channel of a still PNG.
  int bits() const { return read.request.scene.bits.value_or(8); }
};

/// Plans; `earlier` may be null, and lends its sources if they are the same. The filter's parameters are changed, and
/// nobody else may use it meanwhile. Throws ValueError, media::InputError, host::HostError.
std::shared_ptr<const Plan> makePlan(const job::RenderRequest &request, const Plan *earlier, host::Filter &filter);

/// The parameters' values by the layers of settings, for a content that can't be planned: keyframes that are set by
/// time are counted from frame 1 on at 24 frames a second.
host::ParameterSet parametersOf(const Content &content, const host::Filter &filter);

}  // namespace pyrelux::studio
