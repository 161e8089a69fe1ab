#include "KeyframedEffect.h"

#include <algorithm>

#include "BackendChoice.h"
#include "ColorDepth.h"
#include "StaticEffect.h"

namespace pyrelux::adapters {

namespace {

/// Hosts with several threads render frames nearly in order; of a few runs at different frames, one is close behind.
constexpr std::size_t maxRuns = 8;

}  // namespace

/// A filter object that advances through the frames.
struct KeyframedEffect::Run {
  Run(const host::FilterInfo &info, host::FrameRenderer &renderer, const host::ParameterSet &parameters,
      const host::FilterTime &time)
      : filter(info), frames(filter, renderer, 0, time) {
    filter.parameters() = host::inFilterTime(parameters, time);
  }

  host::Filter filter;
  host::SequentialRenderer frames;
  std::int64_t next = 0;  ///< the frame that costs no pre-roll
};

KeyframedEffect::KeyframedEffect(const host::FilterInfo &filter)
    : filter_(filter),
      renderer_(host::chooseBackend("auto")),
      defaults_(parametersOf(filter)),
      parameters_(defaults_) {}

KeyframedEffect::~KeyframedEffect() = default;

void KeyframedEffect::setParameters(const host::ParameterSet &parameters, const host::FilterTime &time) {
  // A run keeps its time.
  if (time != time_) runs_.clear();
  parameters_ = parameters;
  time_ = time;
  const host::ParameterSet ofFilter = host::inFilterTime(parameters, time);
  for (const std::unique_ptr<Run> &run : runs_) {
    run->filter.edit(ofFilter);
    run->next = 0;
  }
}

void KeyframedEffect::render(const std::uint8_t *input, std::uint8_t *output, int width, int height, std::int64_t frame,
                             double pixelAspect, Composition composition) {
  host::FrameSettings settings;
  settings.pixelAspect = pixelAspect;
  settings.floatOutput = host::isDeep(parameters_, static_cast<double>(frame));
  canvas_.paint(input, output, width, height, composition, [&](const Image &picture, Image &fire) {
    Run &run = runFor(frame);
    run.frames.render(frame, picture, settings, fire);
    run.next = frame + 1;
  });
}

KeyframedEffect::Run &KeyframedEffect::runFor(std::int64_t frame) {
  auto nearest = runs_.end();
  for (auto run = runs_.begin(); run != runs_.end(); ++run)
    if ((*run)->next <= frame && (nearest == runs_.end() || (*run)->next > (*nearest)->next)) nearest = run;
  if (nearest == runs_.end()) {
    if (runs_.size() < maxRuns) {
      runs_.push_back(std::make_unique<Run>(filter_, renderer_, parameters_, time_));
      return *runs_.back();
    }
    nearest = runs_.begin();
  }
  std::rotate(nearest, nearest + 1, runs_.end());
  return *runs_.back();
}

}  // namespace pyrelux::adapters
