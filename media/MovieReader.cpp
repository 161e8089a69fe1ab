#include "MovieReader.h"

#include <utility>

#include "Decoder.h"
#include "Errors.h"
#include "PixelConversion.h"

namespace pyrelux::media {

MovieReader::MovieReader(const std::string &path, const AVInputFormat *demuxer, InputAlpha alpha)
    : path_(path), demuxer_(demuxer), alpha_(alpha) {
  MovieDecoder first(path, demuxer);
  const AVFrame *frame = first.next();
  if (!frame) failReading(path, causeCutOff);
  info_ = describe(*frame, alpha);
  info_.kind = InputKind::Movie;
  info_.frameRate = first.frameRate();
  info_.hasAudio = first.hasAudio();
  info_.firstFrame = 1;
  // Counting reads from the start, which a decoder that has delivered a picture is past.
  info_.lastFrame = MovieDecoder(path, demuxer).countPictures();
}

Image MovieReader::read(std::int64_t frame) {
  requireFrame(info_, frame, path_);
  if (frame == position_) return image_;

  // Taken out while it works, so that a failure leaves none whose position is unknown.
  std::unique_ptr<MovieDecoder> decoder = std::move(decoder_);
  std::int64_t position = std::exchange(position_, 0);
  if (!decoder || frame < position) {
    decoder = std::make_unique<MovieDecoder>(path_, demuxer_);
    position = 0;
  }
  const AVFrame *picture = nullptr;
  for (; position < frame; ++position)
    if (!(picture = decoder->next())) failReading(path_, causeCutOff);
  if (const InputInfo size = describe(*picture, alpha_); size.width != info_.width || size.height != info_.height)
    failReading(path_, "its frame " + std::to_string(frame) + " is " + sizeText(size.width, size.height) + ", not " +
                           sizeText(info_.width, info_.height));
  image_ = toImage(*picture, chooseAlpha(alpha_, alphaKindOf(decoder->codec())), path_);
  decoder_ = std::move(decoder);
  position_ = position;
  return image_;
}

}  // namespace pyrelux::media
