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

/// A request whose settings are read, before anything is opened.
struct ReadRequest {
  RenderRequest request;  ///< with what its project and preset say
  SettingsFiles files;
  host::ParameterSet defaults;  ///< the filter's and ours
  int drawBits;                 ///< per channel of the drawing
};

/// Throws ValueError, media::InputError.
ReadRequest readRequest(const RenderRequest &given, const host::Filter &filter);

/// How a request burns over sources that are open.
struct PlannedFire {
  project::Clock clock;
  host::ParameterSet inForce;     ///< the filter's and ours, as the layers of settings have them
  host::ParameterSet parameters;  ///< the same with the keyframes of a fire that catches and goes out
  Fire fire;
};

/// Plans the fire of these frames, and puts the input into the room that it needs. May be called again for the same
/// sources and other settings, unless the padding is automatic: the room is not taken back. The filter's parameters are
/// changed. Throws ValueError, media::InputError, host::HostError.
PlannedFire planFireOf(const ReadRequest &read, Sources &sources, const FrameList &frames, host::Filter &filter,
                       RenderListener &listener, const StopToken &stop);

/// A render with all decided that can be refused, before anything is drawn or written.
struct RenderPlan {
  RenderRequest request;          ///< with what its project and preset say
  host::ParameterSet inForce;     ///< the filter's and ours, as the layers of settings have them
  host::ParameterSet parameters;  ///< the same with the keyframes of a fire that catches and goes out
  int bits;                       ///< per channel of the output
  int drawBits;                   ///< per channel of the drawing
  Sources sources;                ///< the input in the room that its fire has, and the background in the same shape
  FrameList frames;               ///< all of them
  FrameList part;                 ///< those to render now
  bool endsWithInput;             ///< the frames are those of a stream up to its end
  Fire fire;
  media::OutputFormat format;  ///< without its record
};

/// Plans what the request asks for. The filter's parameters are changed. Throws what RenderJob::run() throws for a
/// request that can't be followed.
RenderPlan planRender(const RenderRequest &given, host::Filter &filter, RenderListener &listener,
                      const StopToken &stop);

}  // namespace pyrelux::job
