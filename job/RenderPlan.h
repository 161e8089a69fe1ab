#pragma once

#include "Filter.h"
#include "Fire.h"
#include "FrameList.h"
#include "RenderListener.h"
#include "RenderRequest.h"
#include "Sources.h"
#include "StopToken.h"
#include "Writer.h"

namespace pyrelux::job {

/// A render with all decided that can be refused, before anything is drawn or written.
struct RenderPlan {
  RenderRequest request;          ///< with what its project and preset say
  host::ParameterSet parameters;  ///< the filter's and ours, with the keyframes of a fire that catches and goes out
  int bits;                       ///< per channel of the output
  int drawBits;                   ///< per channel of the drawing
  Sources sources;                ///< the input in the room that its fire has, and the background in the same shape
  FrameList frames;
  Fire fire;
  media::OutputFormat format;  ///< without its record
};

/// Plans what the request asks for. The filter's parameters are changed. Throws what RenderJob::run() throws for a
/// request that can't be followed.
RenderPlan planRender(const RenderRequest &given, host::Filter &filter, RenderListener &listener,
                      const StopToken &stop);

}  // namespace pyrelux::job
