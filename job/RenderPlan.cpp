#include "RenderPlan.h"

#include <utility>

#include "FirePlan.h"
#include "InputSource.h"
#include "OutputPlan.h"
#include "OwnParameters.h"
#include "StandardStream.h"
#include "ValueError.h"

namespace pyrelux::job {

namespace {

void requirePlaceForFrames(const RenderRequest &request, const FrameList &frames) {
  if (request.existing == Existing::Resume && !media::Writer::isSequence(request.output))
    throw ValueError("--resume is for numbered sequences, and " + media::shownName(request.output) + " is none");
  if (frames.count() > 1 && !media::Writer::holdsManyFrames(request.output))
    throw ValueError(media::shownName(request.output) + " holds one frame, not " + std::to_string(frames.count()) +
                     "; put %04d or #### into its name, or write a movie");
}

void requireFrames(const std::optional<FrameList> &part, const FrameList &frames) {
  if (!part) return;
  part->forEach([&](std::int64_t frame) {
    if (!frames.contains(frame))
      throw ValueError("frame " + std::to_string(frame) + " is none of the frames " + formatFrames(frames));
    return true;
  });
}

/// What is planned by the last frame needs one.
void requireKnownEnd(const project::Scene &scene) {
  const auto refuse = [](const char *option) {
    throw ValueError("'" + std::string(option) +
                     "' needs to know which frames there are, and standard input does not tell; give --frames or "
                     "--duration");
  };
  if (scene.die) refuse("--die");
  if (scene.loops.value_or(false)) refuse("--loop");
  if (scene.pad && scene.pad->isAuto) refuse("--pad auto");
}

}  // namespace

ReadRequest readRequest(const RenderRequest &given, const host::Filter &filter) {
  host::ParameterSet defaults = project::allParameters(filter);
  SettingsFiles files = loadSettings(given, defaults.declarations());
  RenderRequest request = withSettings(given, files);
  const int drawBits = project::drawBitsOf(defaults, files.layers(request));
  return {std::move(request), std::move(files), std::move(defaults), drawBits};
}

PlannedFire planFireOf(const ReadRequest &read, Sources &sources, const FrameList &frames, host::Filter &filter,
                       RenderListener &listener, const StopToken &stop) {
  const RenderRequest &request = read.request;
  const project::Clock clock{sources.firstFrame(), chooseRate(request, sources.background(), sources.info().frameRate)};
  host::ParameterSet inForce = read.defaults;
  project::applyLayers(inForce, read.files.layers(request), clock);
  host::ParameterSet parameters = withLife(inForce, request.scene, frames, clock);
  Fire fire = planFireIn(sources, request, filter, parameters, frames, clock, listener, stop);
  return {clock, std::move(inForce), std::move(parameters), std::move(fire)};
}

RenderPlan planRender(const RenderRequest &given, host::Filter &filter, RenderListener &listener,
                      const StopToken &stop) {
  const ReadRequest read = readRequest(given, filter);
  const RenderRequest &request = read.request;
  const bool manyFrames = media::Writer::holdsManyFrames(request.output);
  const int bits = chooseBits(request);
  Sources sources(request, read.drawBits, listener);
  Background *const background = sources.background();
  const FrameList frames = chooseFrames(request, sources.info(), background, manyFrames);
  const bool endsWithInput = manyFrames && sources.info().isStream && !request.scene.frames && !request.scene.duration;
  if (endsWithInput) requireKnownEnd(request.scene);
  requirePlaceForFrames(request, frames);
  requireFrames(request.part, frames);
  sources.guardOutput(request, frames);
  PlannedFire planned = planFireOf(read, sources, frames, filter, listener, stop);
  const media::InputInfo &input = sources.info();
  const media::OutputFormat format = chooseFormat(request, input, background, frames, bits, listener);
  if (background) background->prepare({input.width, input.height, input.pixelAspect}, format.frameRate);
  return {request,
          std::move(planned.inForce),
          std::move(planned.parameters),
          bits,
          read.drawBits,
          std::move(sources),
          frames,
          request.part.value_or(frames),
          endsWithInput,
          planned.fire,
          format};
}

}  // namespace pyrelux::job
