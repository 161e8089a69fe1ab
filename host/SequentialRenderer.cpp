#include "SequentialRenderer.h"

#include <algorithm>
#include <utility>

#include "Backends.h"
#include "HostError.h"

namespace pyrelux::host {

namespace {

/// While it lives, the filter has the settings that are quickest to draw with and lead to the same later frames.
/// Integers count what is drawn, and what is drawn leaves nothing for later frames.
class CheapestSettings {
 public:
  explicit CheapestSettings(ParameterSet &parameters) : parameters_(parameters), before_(parameters) {
    ParameterSet cheapest = before_;
    for (const ParameterDeclaration &parameter : before_.declarations())
      if (parameter.kind == ParameterKind::Integer) cheapest.set(parameter, {parameter.minimum});
    parameters_ = std::move(cheapest);
  }
  ~CheapestSettings() { parameters_ = std::move(before_); }
  CheapestSettings(const CheapestSettings &) = delete;
  CheapestSettings &operator=(const CheapestSettings &) = delete;

 private:
  ParameterSet &parameters_;
  ParameterSet before_;
};

}  // namespace

SequentialRenderer::SequentialRenderer(Filter &filter, FrameRenderer &renderer, std::int64_t firstFrame,
                                       const FilterTime &time)
    : filter_(filter), renderer_(renderer), nothing_(platform::kBackendNull), firstFrame_(firstFrame), time_(time) {}

void SequentialRenderer::render(std::int64_t frame, const Image &input, const FrameSettings &settings, Image &result) {
  preRollTo(frame, settings);
  renderer_.render(filter_, input, time_.at(frame), settings, result);
  next_ = frame + 1;
  isReady_ = true;
}

void SequentialRenderer::preRollTo(std::int64_t frame, const FrameSettings &settings) {
  const std::int64_t from = std::min(firstFrame_, frame);
  const std::uint64_t revision = filter_.parameters().revision();
  const bool goesOn = isReady_ && frame >= next_ && runFrom_ == from && revision_ == revision;
  // Until the frame is there.
  isReady_ = false;
  if (!goesOn) {
    filter_.restart();
    next_ = runFrom_ = from;
    revision_ = revision;
  }
  if (next_ == frame) return;
  const CheapestSettings cheapest(filter_.parameters());
  const Image dot = Image::bytes(1, 1, Alpha::Premultiplied);
  Image result;
  for (; next_ < frame; ++next_) {
    if (preRollListener_ && !preRollListener_(next_, frame))
      throw HostError("stopped at frame " + std::to_string(next_) + " on the way to frame " + std::to_string(frame));
    nothing_.render(filter_, dot, time_.at(next_), settings, result);
  }
}

}  // namespace pyrelux::host
