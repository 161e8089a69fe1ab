#include "InputReaders.h"

#include <algorithm>
#include <utility>

#include "Matte.h"
#include "MediaErrors.h"

namespace pyrelux::job {

namespace {

class RoomReader : public media::Reader {
 public:
  RoomReader(std::unique_ptr<media::Reader> input, const Room &room) : input_(std::move(input)), room_(room) {
    info_ = input_->info();
    info_.width = room.frame.width;
    info_.height = room.frame.height;
    info_.pixelAspect = room.frame.pixelAspect;
  }

  Image read(std::int64_t frame) override {
    const Image picture = media::resized(*input_->share(frame), room_.width, room_.height);
    return media::placed(picture, room_.frame.width, room_.frame.height, room_.left, room_.top);
  }

  std::vector<std::string> files() const override { return input_->files(); }

 private:
  std::unique_ptr<media::Reader> input_;
  Room room_;
};

class MatteReader : public media::Reader {
 public:
  MatteReader(std::unique_ptr<media::Reader> input, const project::InputMatte &matte)
      : input_(std::move(input)), matte_(matte) {
    info_ = input_->info();
    info_.hasAlpha = true;
  }

  Image read(std::int64_t frame) override {
    const std::shared_ptr<const Image> picture = input_->share(frame);
    const bool isKeyed = matte_.kind == project::InputMatte::Kind::Key;
    return isKeyed ? keyMatte(*picture, matte_.key, matte_.softness) : lumaMatte(*picture);
  }

  std::vector<std::string> files() const override { return input_->files(); }

 private:
  std::unique_ptr<media::Reader> input_;
  project::InputMatte matte_;
};

class FilmReader : public media::Reader {
 public:
  /// `followsTime`: else frames are counted.
  FilmReader(std::unique_ptr<media::Reader> input, const FrameRange &film, const FrameRate &rate, bool followsTime)
      : input_(std::move(input)), followsTime_(followsTime) {
    info_ = input_->info();
    const std::int64_t count = info_.lastFrame - info_.firstFrame + 1;
    const std::int64_t own = followsTime ? media::frameAtSameTime(count, info_.frameRate, rate) : count;
    info_.isStream = false;
    info_.firstFrame = 1;
    info_.lastFrame = std::max(own, film.last);
    info_.frameRate = rate;
  }

  Image read(std::int64_t frame) override {
    const media::InputInfo &from = input_->info();
    if (followsTime_) frame = from.firstFrame + media::frameAtSameTime(frame - 1, info_.frameRate, from.frameRate);
    if (frame <= from.lastFrame) {
      try {
        return input_->read(frame);
      } catch (const media::EndOfStream &) {
        // Nothing burns any more.
      }
    }
    return Image::bytes(info_.width, info_.height, Alpha::Premultiplied);
  }

  std::vector<std::string> files() const override { return input_->files(); }

 private:
  std::unique_ptr<media::Reader> input_;
  bool followsTime_;
};

}  // namespace

std::unique_ptr<media::Reader> inRoom(std::unique_ptr<media::Reader> input, const Room &room) {
  const media::InputInfo &info = input->info();
  if (room.isWhole({info.width, info.height, info.pixelAspect})) return input;
  return std::make_unique<RoomReader>(std::move(input), room);
}

std::unique_ptr<media::Reader> withMatte(std::unique_ptr<media::Reader> input, const project::InputMatte &matte) {
  return std::make_unique<MatteReader>(std::move(input), matte);
}

std::unique_ptr<media::Reader> alongFilm(std::unique_ptr<media::Reader> input, const Background &background,
                                         const FrameRate &rate) {
  if (!background.decidesLength() || input->info().kind != media::InputKind::Movie) return input;
  return std::make_unique<FilmReader>(std::move(input), background.frames(rate), rate,
                                      background.film()->kind == media::InputKind::Movie);
}

}  // namespace pyrelux::job
