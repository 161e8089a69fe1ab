#include "CanvasReader.h"

#include <algorithm>
#include <utility>

#include "Fit.h"

namespace pyrelux::job {

namespace {

class CanvasReader : public media::Reader {
 public:
  CanvasReader(std::unique_ptr<media::Reader> input, const media::PictureShape &shape)
      : input_(std::move(input)), shape_(shape) {
    info_ = input_->info();
    info_.width = shape.width;
    info_.height = shape.height;
    info_.pixelAspect = shape.pixelAspect;
  }

  /// Gives a movie the rate and at least the length of a film. `followsTime`: else frames are counted.
  void runWith(const FrameRange &film, const FrameRate &rate, bool followsTime) {
    endsEarly_ = true;
    followsTime_ = followsTime;
    const std::int64_t count = info_.lastFrame - info_.firstFrame + 1;
    const std::int64_t own = followsTime ? media::frameAtSameTime(count, info_.frameRate, rate) : count;
    info_.firstFrame = 1;
    info_.lastFrame = std::max(own, film.last);
    info_.frameRate = rate;
  }

  Image read(std::int64_t frame) override {
    const media::InputInfo &from = input_->info();
    if (followsTime_) frame = from.firstFrame + media::frameAtSameTime(frame - 1, info_.frameRate, from.frameRate);
    if (endsEarly_ && frame > from.lastFrame) return Image::bytes(shape_.width, shape_.height, Alpha::Premultiplied);
    return fitted(input_->read(frame), from.pixelAspect, shape_, media::Fit::Shrink);
  }

  std::vector<std::string> files() const override { return input_->files(); }

 private:
  std::unique_ptr<media::Reader> input_;
  media::PictureShape shape_;
  bool followsTime_ = false;
  bool endsEarly_ = false;
};

}  // namespace

std::unique_ptr<media::Reader> onCanvas(std::unique_ptr<media::Reader> input, const Background &background,
                                        const FrameRate &rate, bool keepsSize) {
  const media::InputInfo &back = *background.info();
  const media::InputInfo info = input->info();
  const media::PictureShape own{info.width, info.height, info.pixelAspect};
  const media::PictureShape shape = keepsSize ? own : media::PictureShape{back.width, back.height, back.pixelAspect};
  const bool runsAlong = background.decidesLength() && info.kind == media::InputKind::Movie;
  if (!runsAlong && shape == own) return input;
  auto reader = std::make_unique<CanvasReader>(std::move(input), shape);
  if (runsAlong) reader->runWith(background.frames(rate), rate, background.film()->kind == media::InputKind::Movie);
  return reader;
}

}  // namespace pyrelux::job
