#include "RenderPlan.h"

#include <utility>

#include "FirePlan.h"
#include "InputSource.h"
#include "OutputPlan.h"
#include "OwnParameters.h"
#include "ValueError.h"

namespace pyrelux::job {

namespace {

void requirePlaceForFrames(const RenderRequest &request, const FrameList &frames) {
  if (request.existing == Existing::Resume && !media::Writer::isSequence(request.output))
    throw ValueError("--resume is for numbered sequences, and '" + request.output + "' is none");
  if (frames.count() > 1 && !media::Writer::holdsManyFrames(request.output))
    throw ValueError("'" + request.output + "' holds one frame, not " + std::to_string(frames.count()) +
                     "; put %04d or #### into its name, or write a movie");
}

}  // namespace

RenderPlan planRender(const RenderRequest &given, host::Filter &filter, RenderListener &listener,
                      const StopToken &stop) {
  host::ParameterSet parameters = project::allParameters(filter);
  const SettingsFiles files = loadSettings(given, parameters.declarations());
  const RenderRequest request = withSettings(given, files);
  const bool manyFrames = media::Writer::holdsManyFrames(request.output);
  const int bits = chooseBits(request);
  const int drawBits = project::drawBitsOf(parameters, files.layers(request));
  Sources sources(request, drawBits, listener);
  Background *const background = sources.background();
  const FrameList frames = chooseFrames(request, sources.info(), background, manyFrames);
  requirePlaceForFrames(request, frames);
  sources.guardOutput(request, frames);
  const project::Clock clock{sources.firstFrame(), chooseRate(request, background, sources.info().frameRate)};
  project::applyLayers(parameters, files.layers(request), clock);
  parameters = withLife(std::move(parameters), request.scene, frames, clock);
  const Fire fire = planFireIn(sources, request, filter, parameters, frames, clock, listener, stop);
  const media::InputInfo &input = sources.info();
  const media::OutputFormat format = chooseFormat(request, input, background, frames, bits, listener);
  if (background) background->prepare({input.width, input.height, input.pixelAspect}, format.frameRate);
  return {request, std::move(parameters), bits, drawBits, std::move(sources), frames, fire, format};
}

}  // namespace pyrelux::job
