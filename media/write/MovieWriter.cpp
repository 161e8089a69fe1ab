#include "MovieWriter.h"

#include <new>

#include "LibraryCause.h"
#include "MediaErrors.h"
#include "OutputFile.h"
#include "StandardStream.h"

namespace pyrelux::media {

namespace {

bool isStream(const std::string &path) { return !standardOutputFormat(path).empty(); }

std::unique_ptr<Output> openOutput(const std::string &path) {
  if (isStream(path)) return std::make_unique<OutputStream>(path);
  return std::make_unique<OutputFile>(path);
}

}  // namespace

MovieWriter::MovieWriter(const std::string &path, const FileFormat &file, const OutputFormat &format)
    : path_(path),
      output_(openOutput(path)),
      encoder_(path, file.codec(format.codec, path), format, options_),
      times_(format.times) {
  AVFormatContext *muxer = nullptr;
  require(avformat_alloc_output_context2(&muxer, nullptr, file.muxer, output_->url().c_str()));
  muxer_.reset(muxer);
  muxer_->pb = output_->io();
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
  for (const auto &[name, value] : isStream(path) ? file.streamOptions : file.options) options_.set(name, value);
  if (file.playsOption) options_.set(file.playsOption, file.playsValue(format.plays).c_str());
  require(avformat_write_header(muxer, options_.get()));
  requireFrameRate();
  isOpen_ = true;
}

MovieWriter::~MovieWriter() {
  // GIF's muxer frees what it holds back in no other place.
  if (isOpen_ && std::string(muxer_->oformat->name) == "gif") av_write_trailer(muxer_.get());
}

MovieWriter::Span MovieWriter::spanOf(std::int64_t frame) {
  if (frame < 0) failWriting(path_, "the frame number " + std::to_string(frame) + " is negative");
  if (!times_) return {end_, 1};
  const auto ticks = times_->ticks.begin() + frame;
  if (!start_) start_ = ticks[-1];
  return {ticks[-1] - *start_, ticks[0] - ticks[-1]};
}

void MovieWriter::write(std::int64_t frame, const Image &image) {
  const auto [time, duration] = spanOf(frame);
  encoder_.encode(image, time, duration, sink());
  output_->requireWritten();
  end_ = time + duration;
}

void MovieWriter::append(std::int64_t frame, AVPacket &packet) {
  const auto [time, duration] = spanOf(frame);
  packet.pts = packet.dts = time;
  packet.duration = duration;
  packet.pos = -1;
  packet.flags = AV_PKT_FLAG_KEY;
  sink()(packet);
  output_->requireWritten();
  end_ = time + duration;
}

void MovieWriter::finish() {
  if (end_ == 0) failWriting(path_, causeNoFrame);
  encoder_.flush(sink());
  if (audio_) require(audio_->finish(*muxer_, end_, encoder_.context().time_base));
  isOpen_ = false;
  require(av_write_trailer(muxer_.get()));
  output_->commit();
}

Losses MovieWriter::losses() const {
  Losses losses = encoder_.losses();
  if (audio_) {
    losses.audioObstacle = audio_->obstacle();
    losses.hasAudio = audio_->hasTracks();
  }
  return losses;
}

/// Packets are written in the order of their times; so the library has none to hold back and sort.
Encoder::Sink MovieWriter::sink() {
  return [this](AVPacket &packet) {
    if (audio_) require(audio_->writeUntil(*muxer_, packet.dts, encoder_.context().time_base));
    packet.stream_index = stream_->index;
    av_packet_rescale_ts(&packet, encoder_.context().time_base, stream_->time_base);
    require(av_write_frame(muxer_.get(), &packet));
  };
}

/// Some containers count time in steps that are coarser than the frames.
void MovieWriter::requireFrameRate() {
  if (times_) return;
  const AVRational most = av_inv_q(stream_->time_base);
  if (av_cmp_q(stream_->avg_frame_rate, most) > 0)
    failWriting(path_, "it can hold no more than " + std::to_string(most.num / most.den) + " frames per second");
}

void MovieWriter::require(int result) {
  if (result < 0) failWriting(path_, libraryCause(result));
}

}  // namespace pyrelux::media
