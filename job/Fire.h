#pragma once

#include <cstdint>
#include <optional>

#include "FrameList.h"
#include "Parameters.h"
#include "RenderListener.h"
#include "Scene.h"
#include "SequentialRenderer.h"
#include "Settings.h"

namespace pyrelux::job {

/// Frames that repeat: their last `blend` ones dissolve into those that lead to the first.
struct Loop {
  FrameRange frames;
  std::int64_t blend;

  /// Of a frame that dissolves, the frame that it dissolves into.
  std::int64_t leadOf(std::int64_t frame) const { return frame - (frames.last - frames.first + 1); }
  /// How much of the other frame is there, 0 .. 1; 0 for a frame that is as it is.
  double shareAt(std::int64_t frame) const;
};

/// How the fire of a render burns.
struct Fire {
  host::ParameterSet parameters;  ///< the filter's and ours, by frame numbers
  host::FilterTime time;
  project::Burn burn = project::Burn::Art;
  std::optional<Loop> loop;

  /// Whether the source is laid on the fire here and not by the filter.
  bool isComposed(std::int64_t frame) const;

  /// The same fire for the frames that lead to the first of the loop: a little slower, so that the step from the last
  /// frame to the first is not larger than those before it.
  Fire lead() const;

  /// The parameters as the filter is to have them: by its own times, and without a source where it is composed here.
  host::ParameterSet filterParameters() const;
};

/// The parameters with the keyframes of a fire that catches and goes out as the scene asks. `frames`: those to be
/// rendered. Throws ValueError where the parameters have keyframes already, and for too little time.
host::ParameterSet withLife(host::ParameterSet parameters, const project::Scene &scene, const FrameList &frames,
                            const project::Clock &clock);

/// Plans the fire of these frames. `parameters`: those of withLife(). `titleShare`: the height of what burns / the
/// frame's height. Remarks what is limited. Throws ValueError for wishes that do not go together.
Fire planFire(const project::Scene &scene, host::ParameterSet parameters, const FrameList &frames,
              const project::Clock &clock, double titleShare, RenderListener &listener);

}  // namespace pyrelux::job
