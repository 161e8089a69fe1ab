#include "StreamReader.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "InputFile.h"
#include "MediaErrors.h"
#include "MovieDecoder.h"
#include "PixelConversion.h"
#include "StandardStream.h"
#include "StillReader.h"

namespace pyrelux::media {

namespace {

/// The largest frame number of movies of every kind.
constexpr std::int64_t mostFrames = std::numeric_limits<std::int32_t>::max();

/// Pictures one after the other.
class Pictures {
 public:
  virtual ~Pictures() = default;
  /// The next one; nothing at the end. Throws InputError.
  virtual std::optional<Still> next() = 0;
};

/// Files of one picture each, without anything between them.
class JoinedStills : public Pictures {
 public:
  JoinedStills(InputFile file, const AVInputFormat *demuxer, InputAlpha alpha)
      : file_(std::move(file)),
        demuxer_(file_.demux(demuxer)),
        codec_(demuxer_->streams[0]->codecpar->codec_id),
        alpha_(alpha) {
    AVCodecParserContext *parser = av_parser_init(codec_);
    isDivisible_ = parser != nullptr;
    av_parser_close(parser);
  }

  std::optional<Still> next() override {
    PacketPtr file = readPacket();
    // Where nobody knows the end of a picture, all there is belongs to one.
    if (!isDivisible_)
      while (const PacketPtr part = readPacket()) append(*file, *part);
    if (!file) return std::nullopt;
    return decodeStill(*file, codec_, alpha_, file_.path());
  }

 private:
  /// Null at the end.
  PacketPtr readPacket() {
    PacketPtr packet = newPacket();
    const int result = av_read_frame(demuxer_.get(), packet.get());
    if (result == AVERROR_EOF) return nullptr;
    if (result < 0) failReading(file_.path(), causeCutOff);
    return packet;
  }

  static void append(AVPacket &file, const AVPacket &part) {
    const int size = file.size;
    if (av_grow_packet(&file, part.size) < 0) throw std::bad_alloc();
    std::copy_n(part.data, part.size, file.data + size);
  }

  InputFile file_;
  DemuxerPtr demuxer_;
  AVCodecID codec_;
  InputAlpha alpha_;
  bool isDivisible_ = false;
};

class MoviePictures : public Pictures {
 public:
  MoviePictures(InputFile file, const AVInputFormat *demuxer, const ReadOptions &options)
      : path_(file.path()), decoder_(std::move(file), demuxer, options.deinterlace), alpha_(options.alpha) {}

  const MovieDecoder &decoder() const { return decoder_; }

  std::optional<Still> next() override {
    const AVFrame *frame = decoder_.next();
    if (!frame) return std::nullopt;
    isInterlaced_ |= frame->interlaced_frame != 0;
    return Still{describe(*frame, alpha_), toImage(*frame, chooseAlpha(alpha_, alphaKindOf(decoder_.codec())), path_)};
  }

  bool isInterlaced() const { return isInterlaced_ || decoder_.isInterlaced(); }

 private:
  std::string path_;
  MovieDecoder decoder_;
  InputAlpha alpha_;
  bool isInterlaced_ = false;
};

/// Holds the picture read last.
class StreamReader : public Reader {
 public:
  /// `info`: of the first picture.
  StreamReader(const InputInfo &info, Image first, std::optional<Still> second, std::unique_ptr<Pictures> pictures)
      : pictures_(std::move(pictures)), image_(std::move(first)), second_(std::move(second)) {
    info_ = info;
    info_.kind = InputKind::Movie;
    info_.isStream = true;
    info_.firstFrame = 1;
    info_.lastFrame = mostFrames;
  }

  Image read(std::int64_t frame) override {
    if (frame < position_) failReading(standardInput, "its frame " + std::to_string(frame) + " has gone by");
    while (position_ < frame) advance();
    return image_;
  }

  std::vector<std::string> files() const override { return {}; }

 private:
  void advance() {
    std::optional<Still> next = second_ ? std::exchange(second_, std::nullopt) : pictures_->next();
    if (!next) throw EndOfStream("cannot read standard input: it ends after frame " + std::to_string(position_));
    ++position_;
    if (next->info.width != info_.width || next->info.height != info_.height)
      failReading(standardInput, "its frame " + std::to_string(position_) + " is " +
                                     sizeText(next->info.width, next->info.height) + ", not " +
                                     sizeText(info_.width, info_.height));
    image_ = std::move(next->image);
  }

  std::unique_ptr<Pictures> pictures_;
  std::int64_t position_ = 1;
  Image image_;
  std::optional<Still> second_;  // read ahead to know that there is one
};

}  // namespace

std::unique_ptr<Reader> openStream(const ReadOptions &options) {
  InputFile file(standardInput);
  const AVInputFormat *demuxer = file.probe();
  std::unique_ptr<Pictures> pictures;
  std::unique_ptr<MoviePictures> movie;
  if (isForPictures(*demuxer))
    pictures = std::make_unique<JoinedStills>(std::move(file), demuxer, options.alpha);
  else
    movie = std::make_unique<MoviePictures>(std::move(file), demuxer, options);
  Pictures &source = movie ? *movie : *pictures;
  std::optional<Still> first = source.next();
  if (!first) failReading(standardInput, causeCutOff);
  std::optional<Still> second = source.next();
  const bool isMovie = movie && std::string_view(demuxer->name) != "gif";
  if (!second && !isMovie) return std::make_unique<StillReader>(std::move(*first));
  InputInfo info = first->info;
  if (movie) {
    info.frameRate = movie->decoder().frameRate();
    info.hasAudio = movie->decoder().hasAudio();
    info.isInterlaced = !options.deinterlace && movie->isInterlaced();
    pictures = std::move(movie);
  }
  return std::make_unique<StreamReader>(info, std::move(first->image), std::move(second), std::move(pictures));
}

}  // namespace pyrelux::media
