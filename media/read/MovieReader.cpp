#include "MovieReader.h"

#include <algorithm>
#include <utility>

#include "Decoder.h"
#include "MediaErrors.h"
#include "PixelConversion.h"

namespace pyrelux::media {

MovieReader::MovieReader(const std::string &path, const AVInputFormat *demuxer, const ReadOptions &options)
    : path_(path), demuxer_(demuxer), options_(options) {
  MovieDecoder first(path, demuxer);
  const AVFrame *frame = first.next();
  if (!frame) failReading(path, causeCutOff);
  info_ = describe(*frame, options.alpha);
  info_.kind = InputKind::Movie;
  info_.isInterlaced = !options.deinterlace && (frame->interlaced_frame || first.isInterlaced());
  info_.hasAudio = first.hasAudio();
  // Counting reads from the start, which a decoder that has delivered a picture is past.
  std::optional<PictureTimes> pictures = MovieDecoder(path, demuxer).measurePackets();
  pictures_ = pictures ? std::move(*pictures) : MovieDecoder(path, demuxer).measurePictures();
  if (pictures_.count == 0) failReading(path, causeCutOff);
  chooseTimes(first);
}

/// Which picture each frame shows.
void MovieReader::chooseTimes(const MovieDecoder &decoder) {
  info_.frameRate = decoder.frameRate();
  info_.firstFrame = 1;
  info_.lastFrame = pictures_.count;
  // The mean is the last choice.
  std::vector<AVRational> known = decoder.frameRates();
  std::reverse(known.begin(), known.end());
  const std::optional<FrameRate> nominal =
      isEven(pictures_, info_.frameRate) ? std::nullopt : nominalRate(pictures_, known);
  if (!nominal) {
    pictures_.times.clear();
  } else if (options_.keepTimes) {
    FrameTimes times{std::move(pictures_.times), {pictures_.base.den, pictures_.base.num}};
    pictures_.times.clear();
    times.ticks.push_back(std::max(pictures_.end, times.ticks.back() + 1));
    info_.times = std::make_shared<const FrameTimes>(std::move(times));
  } else {
    info_.isResampled = true;
    info_.frameRate = *nominal;
    info_.lastFrame = countFrames(pictures_, *nominal);
  }
}

Image MovieReader::read(std::int64_t frame) {
  requireFrame(info_, frame, path_);
  const std::int64_t number = info_.isResampled ? pictureAt(pictures_, info_.frameRate, frame) : frame;
  if (number == position_) return image_;

  // Taken out while it works, so that a failure leaves none whose position is unknown.
  std::unique_ptr<MovieDecoder> decoder = std::move(decoder_);
  std::int64_t position = std::exchange(position_, 0);
  if (!decoder || number < position) {
    decoder = open();
    position = 0;
  }
  const AVFrame *picture = nullptr;
  for (; position < number; ++position)
    if (!(picture = decoder->next())) failReading(path_, causeCutOff);
  if (const InputInfo size = describe(*picture, options_.alpha);
      size.width != info_.width || size.height != info_.height)
    failReading(path_, "its frame " + std::to_string(frame) + " is " + sizeText(size.width, size.height) + ", not " +
                           sizeText(info_.width, info_.height));
  image_ = toImage(*picture, chooseAlpha(options_.alpha, alphaKindOf(decoder->codec())), path_);
  decoder_ = std::move(decoder);
  position_ = position;
  return image_;
}

}  // namespace pyrelux::media
