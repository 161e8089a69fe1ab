#include "FirePlan.h"

#include "AutoPad.h"

namespace pyrelux::job {

Fire planFireIn(Sources &sources, const RenderRequest &request, host::Filter &filter,
                const host::ParameterSet &parameters, const FrameList &frames, const project::Clock &clock,
                RenderListener &listener, const StopToken &stop) {
  const project::Scene &scene = request.scene;
  const bool isPadded = scene.pad && scene.pad->isAuto;
  const bool needsTitle = isPadded || scene.flameScale == project::FlameScale::Title;
  const PixelBox title = needsTitle ? sources.titleBox() : PixelBox();
  const auto fireIn = [&](int frameHeight, RenderListener &told) {
    return planFire(scene, parameters, frames, clock, static_cast<double>(title.height()) / frameHeight, told);
  };
  if (isPadded) {
    // Rooms that are tried say nothing.
    RenderListener silence;
    const media::InputInfo &input = sources.info();
    const Room room{{input.width, input.height, input.pixelAspect}, input.width, input.height, 0, 0};
    sources.putIn(roomForFire(
        filter, room, title, frames, clock.firstFrame, [&](int height) { return fireIn(height, silence); }, listener,
        stop));
  }
  return fireIn(sources.info().height, listener);
}

}  // namespace pyrelux::job
