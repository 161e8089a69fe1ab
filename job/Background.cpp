#include "Background.h"

#include <algorithm>
#include <utility>

#include "InputSource.h"
#include "Over.h"
#include "StandardStream.h"
#include "ValueError.h"

namespace pyrelux::job {

std::optional<Background> Background::open(const RenderRequest &request, RenderListener &listener) {
  if (!request.background) return std::nullopt;
  const BackgroundRequest &wanted = *request.background;
  const std::string file = wanted.name == media::standardInput ? media::standardInputFile() : wanted.name;
  Background background =
      wanted.colour
          ? Background(*wanted.colour)
          : Background(openFile(request, file, {media::InputAlpha::Auto, request.deinterlace, false}, listener));
  if (wanted.colour && wanted.fit)
    throw ValueError("--over-fit is for a background with a size, and a colour has none");
  if (wanted.isLooped && !background.film())
    throw ValueError("--over-loop is for a sequence or movie, and '" + wanted.name + "' is none");
  if (background.film() && background.film()->isStream)
    throw ValueError("a background is read back and forth, and standard input can be read once; give a file");
  background.name_ = file;
  background.fit_ = wanted.fit.value_or(media::Fit::Cover);
  background.isLooped_ = wanted.isLooped;
  return background;
}

const media::InputInfo *Background::film() const {
  return reader_ && reader_->info().kind != media::InputKind::Still ? &reader_->info() : nullptr;
}

FrameRate Background::rate(const FrameRate &usual) const {
  return film() && film()->kind == media::InputKind::Movie ? film()->frameRate : usual;
}

FrameRange Background::frames(const FrameRate &rate) const {
  const media::InputInfo &info = *film();
  if (info.kind == media::InputKind::Sequence) return {info.firstFrame, info.lastFrame};
  const std::int64_t count = info.lastFrame - info.firstFrame + 1;
  return {1, std::max<std::int64_t>(media::frameAtSameTime(count, info.frameRate, rate), 1)};
}

void Background::requireSome(const FrameList &frames) const {
  if (!film() || film()->kind != media::InputKind::Sequence || isLooped_) return;
  if (frames.last() < film()->firstFrame || frames.first() > film()->lastFrame)
    throw ValueError("the background '" + name_ + "' has the frames " + std::to_string(film()->firstFrame) + "-" +
                     std::to_string(film()->lastFrame) + ", and none of those to render; give --frames among them");
}

void Background::prepare(const media::PictureShape &shape, const FrameRate &rate) {
  shape_ = shape;
  rate_ = rate;
}

std::int64_t Background::frameUnder(std::int64_t frame) const {
  if (!film()) return frame;
  const media::InputInfo &info = *film();
  if (info.kind == media::InputKind::Movie)
    frame = info.firstFrame + media::frameAtSameTime(frame - 1, rate_, info.frameRate);
  if (!isLooped_) return std::clamp(frame, info.firstFrame, info.lastFrame);
  const std::int64_t count = info.lastFrame - info.firstFrame + 1;
  const std::int64_t place = (frame - info.firstFrame) % count;
  return info.firstFrame + (place < 0 ? place + count : place);
}

std::shared_ptr<const Image> Background::behind(std::int64_t frame) {
  if (!reader_) return nullptr;
  const std::int64_t wanted = film() ? frameUnder(frame) : 0;
  if (!back_ || backFrame_ != wanted) {
    back_ = nullptr;
    back_ = std::make_shared<const Image>(
        toFloat(fitted(reader_->read(wanted), reader_->info().pixelAspect, shape_, fit_)));
    backFrame_ = wanted;
  }
  return back_;
}

Image Background::lay(const Image &front, const Image *back, float density) const {
  return back ? over(front, *back, density) : over(front, colour_, density);
}

}  // namespace pyrelux::job
