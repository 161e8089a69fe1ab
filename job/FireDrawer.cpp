#include "FireDrawer.h"

#include <algorithm>

#include "Compositing.h"
#include "OwnParameters.h"

namespace pyrelux::job {

FireDrawer::FireDrawer(host::Filter &filter, host::FrameRenderer &renderer, const Fire &fire,
                       const host::FrameSettings &settings, std::int64_t firstFrame,
                       const host::SequentialRenderer::PreRollListener &preRollListener)
    : filter_(filter),
      frameRenderer_(renderer),
      fire_(fire),
      settings_(settings),
      firstFrame_(firstFrame),
      preRollListener_(preRollListener) {
  filter.parameters() = fire.filterParameters();
  begin();
}

void FireDrawer::edit(const Fire &fire, const host::FrameSettings &settings, std::int64_t firstFrame) {
  fire_ = fire;
  settings_ = settings;
  firstFrame_ = firstFrame;
  filter_.edit(fire.filterParameters());
  begin();
}

void FireDrawer::begin() {
  renderer_.emplace(filter_, frameRenderer_, firstFrame_, fire_.time);
  renderer_->setPreRollListener(preRollListener_);
  lead_.reset();
  leadFilter_.reset();
  if (!fire_.loop) return;
  leadFilter_ = std::make_unique<host::Filter>(filter_.info());
  leadFire_ = fire_.lead();
  leadFilter_->parameters() = leadFire_->filterParameters();
  lead_.emplace(*leadFilter_, frameRenderer_, std::min(firstFrame_, fire_.loop->frames.first - fire_.loop->blend),
                leadFire_->time);
  lead_->setPreRollListener(preRollListener_);
}

void FireDrawer::draw(std::int64_t frame, const Image &input, Image &output) {
  drawAlone(*renderer_, fire_, frame, input, output);
  const double share = fire_.loop ? fire_.loop->shareAt(frame) : 0.0;
  if (share == 0.0) return;
  Image other;
  drawAlone(*lead_, *leadFire_, fire_.loop->leadOf(frame), input, other);
  output = dissolve(output, other, static_cast<float>(share));
}

void FireDrawer::drawAlone(host::SequentialRenderer &renderer, const Fire &fire, std::int64_t frame, const Image &input,
                           Image &output) {
  if (!fire.isComposed(frame)) return renderer.render(frame, input, settings_, output);
  const Image source = premultiplied(input);
  renderer.render(frame, fire.burn == project::Burn::Shape ? shapeOf(source) : source, settings_, output);
  const auto valueOf = [&](const host::ParameterDeclaration *parameter) {
    return parameter ? fire.parameters.value(parameter->id, static_cast<double>(frame))[0] : 0.0;
  };
  const double weight = valueOf(fire.parameters.find(project::fireOpacityId)) / 100.0;
  const double opacity = valueOf(project::sourceOpacityOf(fire.parameters));
  const bool isCovered = valueOf(project::sourceModeOf(fire.parameters)) == 0.0;
  output = sourceOnFire(output, static_cast<float>(weight), source, static_cast<float>(opacity),
                        isCovered ? SourceMode::Cover : SourceMode::Mix);
}

}  // namespace pyrelux::job
