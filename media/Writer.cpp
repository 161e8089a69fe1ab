#include "Writer.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "AudioCopy.h"
#include "Encoder.h"
#include "FileFormat.h"
#include "FramePattern.h"
#include "LibraryCause.h"
#include "LibraryLog.h"
#include "MediaErrors.h"
#include "OutputFile.h"
#include "StillEncoder.h"

namespace pyrelux::media {

namespace {

constexpr const char *causeNoFrame = "it was given no frame";

/// One still, or one for each frame.
class StillWriter : public Writer {
 public:
  StillWriter(const std::string &path, const FileFormat &file, const OutputFormat &format)
      : path_(path),
        pattern_(path),
        publish_(format.publish),
        encoder_(StillEncoder::open(path, file.codec(format.codec, path), format)) {}

  void write(std::int64_t frame, const Image &image) override {
    if (frame < 0) failWriting(path_, "the frame number " + std::to_string(frame) + " is negative");
    if (still_) failWriting(path_, "it can hold one frame only");
    const std::string path = pattern_.path(frame);
    auto output = std::make_unique<OutputFile>(path);
    encoder_->encode(image, *output->io());
    if (pattern_.isNumbered()) {
      output->complete();
      if (publish_)
        publish_({frame, path, output->temporaryPath(), [&output] { output->commit(); }});
      else
        output->commit();
      hasFrames_ = true;
    } else {
      output->requireWritten();
      still_ = std::move(output);
    }
  }

  void finish() override {
    if (still_)
      still_->commit();
    else if (!hasFrames_)
      failWriting(path_, causeNoFrame);
  }

  Losses losses() const override { return encoder_->losses(); }

 private:
  std::string path_;
  FramePattern pattern_;
  std::function<void(const NewPicture &)> publish_;
  std::unique_ptr<StillEncoder> encoder_;
  std::unique_ptr<OutputFile> still_;
  bool hasFrames_ = false;
};

class MovieWriter : public Writer {
 public:
  MovieWriter(const std::string &path, const FileFormat &file, const OutputFormat &format)
      : path_(path),
        output_(path),
        encoder_(path, file.codec(format.codec, path), true, format, options_),
        times_(format.times) {
    AVFormatContext *muxer = nullptr;
    require(avformat_alloc_output_context2(&muxer, nullptr, file.muxer, output_.url().c_str()));
    muxer_.reset(muxer);
    muxer_->pb = output_.io();
    stream_ = avformat_new_stream(muxer, nullptr);
    if (!stream_) throw std::bad_alloc();
    require(avcodec_parameters_from_context(stream_->codecpar, &encoder_.context()));
    // Apple's players take H.265 by this of its two tags only.
    constexpr unsigned hvc1 = MKTAG('h', 'v', 'c', '1');
    if (av_codec_get_id(muxer->oformat->codec_tag, hvc1) == encoder_.context().codec_id)
      stream_->codecpar->codec_tag = hvc1;
    stream_->time_base = encoder_.context().time_base;
    if (!times_) stream_->avg_frame_rate = encoder_.context().framerate;
    stream_->sample_aspect_ratio = encoder_.context().sample_aspect_ratio;
    if (!format.audioFrom.empty()) {
      const std::int64_t first = format.audioFirstFrame;
      audio_.emplace(format.audioFrom, times_ ? times_->ticks[first - 1] - times_->ticks[0] : first - 1,
                     encoder_.context().time_base);
      audio_->addStreams(*muxer);
    }
    for (const auto &[name, value] : file.options) options_.set(name, value);
    if (file.playsOption) options_.set(file.playsOption, file.playsValue(format.plays).c_str());
    require(avformat_write_header(muxer, options_.get()));
    requireFrameRate();
    isOpen_ = true;
  }

  ~MovieWriter() override {
    // GIF's muxer frees what it holds back in no other place.
    if (isOpen_ && std::string(muxer_->oformat->name) == "gif") av_write_trailer(muxer_.get());
  }

  void write(std::int64_t frame, const Image &image) override {
    if (frame < 0) failWriting(path_, "the frame number " + std::to_string(frame) + " is negative");
    std::int64_t time = end_;
    std::int64_t duration = 1;
    if (times_) {
      const auto ticks = times_->ticks.begin() + frame;
      if (!start_) start_ = ticks[-1];
      time = ticks[-1] - *start_;
      duration = ticks[0] - ticks[-1];
    }
    encoder_.encode(image, time, duration, sink());
    output_.requireWritten();
    end_ = time + duration;
  }

  void finish() override {
    if (end_ == 0) failWriting(path_, causeNoFrame);
    encoder_.flush(sink());
    if (audio_) require(audio_->finish(*muxer_, end_, encoder_.context().time_base));
    isOpen_ = false;
    require(av_write_trailer(muxer_.get()));
    output_.commit();
  }

  Losses losses() const override {
    Losses losses = encoder_.losses();
    if (audio_) {
      losses.audioObstacle = audio_->obstacle();
      losses.hasAudio = audio_->hasTracks();
    }
    return losses;
  }

 private:
  /// Packets are written in the order of their times; so the library has none to hold back and sort.
  Encoder::Sink sink() {
    return [this](AVPacket &packet) {
      if (audio_) require(audio_->writeUntil(*muxer_, packet.dts, encoder_.context().time_base));
      packet.stream_index = stream_->index;
      av_packet_rescale_ts(&packet, encoder_.context().time_base, stream_->time_base);
      require(av_write_frame(muxer_.get(), &packet));
    };
  }

  /// Some containers count time in steps that are coarser than the frames.
  void requireFrameRate() {
    if (times_) return;
    const AVRational most = av_inv_q(stream_->time_base);
    if (av_cmp_q(stream_->avg_frame_rate, most) > 0)
      failWriting(path_, "it can hold no more than " + std::to_string(most.num / most.den) + " frames per second");
  }

  void require(int result) {
    if (result < 0) failWriting(path_, libraryCause(result));
  }

  std::string path_;
  Dictionary options_;
  OutputFile output_;
  Encoder encoder_;
  MuxerPtr muxer_;
  AVStream *stream_ = nullptr;
  std::optional<AudioCopy> audio_;
  std::shared_ptr<const FrameTimes> times_;  // null for an even rate
  std::optional<std::int64_t> start_;        // of the first frame, in ticks
  std::int64_t end_ = 0;                     // of the last frame
  bool isOpen_ = false;                      // a header is written, and no trailer yet
};

std::optional<NumberRange> rangeOf(const Knob &knob) {
  return knob.option ? std::optional<NumberRange>({knob.least, knob.most}) : std::nullopt;
}

}  // namespace

std::unique_ptr<Writer> Writer::open(const std::string &path, const OutputFormat &format) {
  silenceLibraries();
  OutputFile::requireWritable(path);
  const FileFormat &file = formatOf(path);
  if (!isSequence(path)) OutputFile::requireWritable(pathOf(path, 0));
  if (file.isMovie()) return std::make_unique<MovieWriter>(path, file, format);
  return std::make_unique<StillWriter>(path, file, format);
}

void Writer::requireWritable(const std::string &path) { OutputFile::requireWritable(path); }

bool Writer::holdsManyFrames(const std::string &path) {
  return formatOf(path).isMovie() || FramePattern(path).isNumbered();
}

std::vector<std::string> Writer::removeLeftovers(const std::string &path) {
  // The name of a movie is none with places for numbers.
  return media::removeLeftovers(path, !formatOf(path).isMovie());
}

std::string Writer::pathOf(const std::string &path, std::int64_t frame) {
  return formatOf(path).isMovie() ? path : FramePattern(path).path(frame);
}

bool Writer::isSequence(const std::string &path) {
  return !formatOf(path).isMovie() && FramePattern(path).isNumbered();
}

bool Writer::holdsAudio(const std::string &path) {
  const FileFormat &file = formatOf(path);
  return file.isMovie() && av_guess_format(file.muxer, nullptr, nullptr)->audio_codec != AV_CODEC_ID_NONE;
}

std::vector<std::string> Writer::codecNames() {
  std::vector<std::string> names;
  for (const FileFormat &format : fileFormats())
    for (const Codec &codec : format.codecs)
      if (std::find(names.begin(), names.end(), codec.name) == names.end()) names.push_back(codec.name);
  return names;
}

bool Writer::isDeep(const std::string &path, const std::string &codec) {
  return formatOf(path).codec(codec, path).isDeep;
}

std::optional<NumberRange> Writer::crfRange(const std::string &path, const std::string &codec) {
  return rangeOf(formatOf(path).codec(codec, path).crf);
}

std::optional<NumberRange> Writer::qualityRange(const std::string &path, const std::string &codec) {
  return rangeOf(formatOf(path).codec(codec, path).quality);
}

bool Writer::countsPlays(const std::string &path) { return formatOf(path).playsOption != nullptr; }

bool Writer::holdsAlpha(const std::string &path, const std::string &codec) {
  return formatOf(path).codec(codec, path).alpha != AlphaUse::None;
}

}  // namespace pyrelux::media
