#include "Timeline.h"

#include <algorithm>
#include <utility>

#include "Backends.h"
#include "HostError.h"

namespace pyrelux::host {

namespace {

/// Sets what costs most to the least for as long as it lives, where the filter has it: a flame's shape and colours
/// leave nothing for later frames.
class Sketch {
 public:
  explicit Sketch(ParameterSet &parameters) : parameters_(parameters), before_(parameters) {
    ParameterSet sketch = before_;
    for (const ParameterDeclaration &parameter : before_.declarations())
      if (parameter.key == "Pyrelux::Pyrelux" || parameter.key == "Pyrelux::Steps")
        sketch.set(parameter, {parameter.minimum});
    parameters_ = std::move(sketch);
  }
  ~Sketch() { parameters_ = std::move(before_); }
  Sketch(const Sketch &) = delete;
  Sketch &operator=(const Sketch &) = delete;

 private:
  ParameterSet &parameters_;
  ParameterSet before_;
};

}  // namespace

Timeline::Timeline(Filter &filter, FrameRenderer &renderer, std::int64_t firstFrame)
    : filter_(filter), renderer_(renderer), nothing_(platform::kBackendNull), firstFrame_(firstFrame) {}

void Timeline::render(std::int64_t frame, const Image &input, const FrameSettings &settings, Image &result) {
  runUpTo(frame, settings);
  renderer_.render(filter_, input, static_cast<double>(frame), settings, result);
  next_ = frame + 1;
  isReady_ = true;
}

void Timeline::runUpTo(std::int64_t frame, const FrameSettings &settings) {
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
  const Sketch sketch(filter_.parameters());
  const Image dot = Image::bytes(1, 1, Alpha::Premultiplied);
  Image result;
  for (; next_ < frame; ++next_) {
    if (runUpListener_ && !runUpListener_(next_, frame))
      throw HostError("stopped at frame " + std::to_string(next_) + " on the way to frame " + std::to_string(frame));
    nothing_.render(filter_, dot, static_cast<double>(next_), settings, result);
  }
}

}  // namespace pyrelux::host
