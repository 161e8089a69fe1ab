#include "AudioCopy.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "LibraryCause.h"
#include "MediaErrors.h"
#include "MovieDecoder.h"

namespace pyrelux::media {

namespace {

bool isAudio(const AVStream &stream) { return stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO; }

/// A stream like another one, for the same packets or for those of an encoder.
AVStream *addLike(AVFormatContext &muxer, const AVStream &from, const AVCodecContext *encoder = nullptr) {
  AVStream *to = avformat_new_stream(&muxer, nullptr);
  if (!to || (encoder ? avcodec_parameters_from_context(to->codecpar, encoder)
                      : avcodec_parameters_copy(to->codecpar, from.codecpar)) < 0)
    throw std::bad_alloc();
  if (!encoder) to->codecpar->codec_tag = 0;  // each container has its own
  to->time_base = encoder ? encoder->time_base : from.time_base;
  to->disposition = from.disposition;
  if (const AVDictionaryEntry *language = av_dict_get(from.metadata, "language", nullptr, 0))
    av_dict_set(&to->metadata, "language", language->value, 0);
  return to;
}

/// Found by trying, in memory: what the libraries' tables list is not all that they write, nor the other way round.
bool canHold(const AVOutputFormat &format, const AVStream &stream) {
  AVFormatContext *allocatedMuxer = nullptr;
  if (avformat_alloc_output_context2(&allocatedMuxer, &format, nullptr, nullptr) < 0) throw std::bad_alloc();
  const MuxerPtr muxer(allocatedMuxer);
  addLike(*muxer, stream);
  if (avio_open_dyn_buf(&muxer->pb) < 0) throw std::bad_alloc();
  const bool isHeld = avformat_write_header(muxer.get(), nullptr) >= 0;
  std::uint8_t *bytes = nullptr;
  avio_close_dyn_buf(muxer->pb, &bytes);
  av_free(bytes);
  muxer->pb = nullptr;
  return isHeld;
}

/// What the container's players know.
const char *encoderFor(const AVOutputFormat &container) {
  return std::strcmp(container.name, "webm") == 0 ? "libopus" : "aac";
}

/// In units of `base`: Matroska has the time of a packet from which what the decoder takes to start is not yet taken
/// off. FFmpeg 5.1 writes how long that is, and the other time.
std::int64_t decoderDelay(const AVOutputFormat &container, const AVCodecParameters &codec, AVRational base) {
  const bool isMatroska = std::strcmp(container.name, "webm") == 0 || std::strcmp(container.name, "matroska") == 0;
  if (!isMatroska || codec.codec_id != AV_CODEC_ID_OPUS || codec.initial_padding <= 0) return 0;
  return av_rescale_q(codec.initial_padding, {1, codec.sample_rate}, base);
}

/// Before the output's first sample, what decoders get to swing in: in seconds.
constexpr std::int64_t preroll = 1;

std::string damage(int result) { return "it is damaged (" + libraryCause(result) + ")"; }

}  // namespace

AudioCopy::AudioCopy(const std::string &path, std::int64_t start, AVRational base)
    : file_(path), demuxer_(file_.demux(file_.identify().demuxer)), start_(start), base_(base) {
  findStreams(*demuxer_);
  for (unsigned index = 0; index < demuxer_->nb_streams; ++index)
    if (!isAudio(*demuxer_->streams[index])) demuxer_->streams[index]->discard = AVDISCARD_ALL;
}

void AudioCopy::addStreams(AVFormatContext &muxer) {
  const AVStream *video = findVideo(*demuxer_);
  for (unsigned index = 0; index < demuxer_->nb_streams; ++index) {
    AVStream *from = demuxer_->streams[index];
    if (!isAudio(*from)) continue;
    std::unique_ptr<AudioEncoder> encoder;
    try {
      if (!canHold(*muxer.oformat, *from))
        encoder = std::make_unique<AudioEncoder>(*from, encoderFor(*muxer.oformat), *muxer.oformat);
    } catch (const std::invalid_argument &error) {
      from->discard = AVDISCARD_ALL;
      obstacle_ = error.what();
      continue;
    }
    std::int64_t start = av_rescale_q(start_, base_, from->time_base);
    if (video && video->start_time != AV_NOPTS_VALUE)
      start += av_rescale_q(video->start_time, video->time_base, from->time_base);
    AVStream *to = addLike(muxer, *from, encoder ? &encoder->context() : nullptr);
    tracks_.push_back({std::move(encoder), from, to, start, INT64_MIN, INT64_MIN});
  }
}

AudioCopy::Track *AudioCopy::trackOf(int stream) {
  const auto found = std::find_if(tracks_.begin(), tracks_.end(),
                                  [stream](const Track &track) { return track.from->index == stream; });
  return found == tracks_.end() ? nullptr : &*found;
}

/// Gives the packet times of the output, in units of the input. Returns whether it belongs into the output.
bool AudioCopy::place(Track &track) {
  if (packet_->dts == AV_NOPTS_VALUE) packet_->dts = packet_->pts;
  if (packet_->dts == AV_NOPTS_VALUE) return false;
  packet_->dts = av_sat_sub64(packet_->dts, track.start);
  packet_->pts = packet_->pts == AV_NOPTS_VALUE ? packet_->dts : av_sat_sub64(packet_->pts, track.start);
  packet_->pts = std::max(packet_->pts, packet_->dts);
  packet_->pos = -1;
  if (packet_->dts < track.newest) {
    obstacle_ = "its times go back";
    return false;
  }
  // Some containers do not say it, while others drop a last packet whose end they do not know.
  if (packet_->duration == 0 && track.newest != INT64_MIN) packet_->duration = packet_->dts - track.newest;
  track.newest = packet_->dts;
  // At the movie's begin, decoders may need what precedes the first sample.
  const std::int64_t before = track.encoder ? av_rescale_q(preroll, {1, 1}, track.from->time_base) : 0;
  return start_ == 0 || av_sat_add64(packet_->pts, packet_->duration) > -before;
}

/// Gets the next packet that belongs to the output. Returns false after the last one.
bool AudioCopy::readPacket() {
  while (!hasPacket_) {
    av_packet_unref(packet_.get());
    if (hasEnded_ || tracks_.empty()) return false;
    const int result = av_read_frame(demuxer_.get(), packet_.get());
    hasEnded_ = result < 0;
    if (hasEnded_ && result != AVERROR_EOF) obstacle_ = damage(result);
    Track *track = hasEnded_ ? nullptr : trackOf(packet_->stream_index);
    hasPacket_ = track && place(*track);
  }
  return true;
}

void AudioCopy::write(AVFormatContext &muxer, Track &track, AVPacket &packet) {
  av_packet_rescale_ts(&packet, track.encoder ? track.encoder->context().time_base : track.from->time_base,
                       track.to->time_base);
  packet.stream_index = track.to->index;
  const std::int64_t delay = decoderDelay(*muxer.oformat, *track.to->codecpar, track.to->time_base);
  packet.dts += delay;
  packet.pts += delay;
  // Packets shorter than a step of the input's clock.
  packet.dts = std::max(packet.dts, track.earliest);
  packet.pts = std::max(packet.pts, packet.dts);
  track.earliest = packet.dts + (muxer.oformat->flags & AVFMT_TS_NONSTRICT ? 0 : 1);
  const int result = av_write_frame(&muxer, &packet);
  if (result < 0 && muxer.pb->error >= 0) obstacle_ = damage(result);
}

int AudioCopy::writeUntil(AVFormatContext &muxer, std::int64_t time, AVRational base) {
  while (readPacket()) {
    Track &track = *trackOf(packet_->stream_index);
    if (av_compare_ts(packet_->pts, track.from->time_base, time, base) >= 0) return 0;
    hasPacket_ = false;
    if (!track.encoder)
      write(muxer, track, *packet_);
    else if (!track.encoder->encode(*packet_, av_rescale_q(time, base, track.encoder->context().time_base),
                                    [&](AVPacket &packet) { write(muxer, track, packet); }))
      obstacle_ = damage(AVERROR_INVALIDDATA);
    if (muxer.pb->error < 0) return muxer.pb->error;
  }
  return 0;
}

int AudioCopy::finish(AVFormatContext &muxer, std::int64_t time, AVRational base) {
  const int result = writeUntil(muxer, time, base);
  for (Track &track : tracks_)
    if (track.encoder)
      track.encoder->finish(av_rescale_q(time, base, track.encoder->context().time_base),
                            [&](AVPacket &packet) { write(muxer, track, packet); });
  return result < 0 ? result : muxer.pb->error;
}

}  // namespace pyrelux::media
