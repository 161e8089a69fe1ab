#include "AudioEncoder.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace pyrelux::media {

namespace {

/// Mono and stereo stay, 5.1 and what is more becomes 5.1, and the rest, which encoders order differently, stereo.
int channelsFor(int channels) { return channels >= 5 ? 6 : std::min(channels, 2); }

/// The input's, if the encoder takes it, else the one that all take.
int rateFor(const AVCodec &encoder, int rate) {
  for (const int *known = encoder.supported_samplerates; known && *known; ++known)
    if (*known == rate) return rate;
  return 48000;
}

/// Enough not to be heard.
std::int64_t bitRateFor(AVCodecID codec, int channels) {
  return std::int64_t{channels} * (codec == AV_CODEC_ID_OPUS ? 80'000 : 96'000);
}

/// The layout, or the usual one of as many channels where a file does not name them.
void copyLayout(AVChannelLayout &to, const AVChannelLayout &from) {
  if (from.order == AV_CHANNEL_ORDER_UNSPEC)
    av_channel_layout_default(&to, from.nb_channels);
  else if (av_channel_layout_copy(&to, &from) < 0)
    throw std::bad_alloc();
}

}  // namespace

AudioEncoder::AudioEncoder(const AVStream &from, const char *encoder, const AVOutputFormat &container)
    : streamBase_(from.time_base) {
  const AVCodecParameters &parameters = *from.codecpar;
  const std::string codec = std::string("its codec ") + avcodec_get_name(parameters.codec_id);
  const AVCodec *decoder = avcodec_find_decoder(parameters.codec_id);
  if (!decoder) throw std::invalid_argument(codec + " is none for this file, and cannot be decoded");
  decoder_ = allocated<CodecPtr>(avcodec_alloc_context3(decoder));
  decoder_->pkt_timebase = from.time_base;
  if (avcodec_parameters_to_context(decoder_.get(), &parameters) < 0 ||
      avcodec_open2(decoder_.get(), decoder, nullptr) < 0)
    throw std::invalid_argument(codec + " cannot be decoded");

  const AVCodec *found = avcodec_find_encoder_by_name(encoder);
  if (!found) throw std::invalid_argument(std::string("the installed FFmpeg lacks the encoder '") + encoder + "'");
  encoder_ = allocated<CodecPtr>(avcodec_alloc_context3(found));
  encoder_->sample_fmt = found->sample_fmts[0];
  encoder_->sample_rate = rateFor(*found, parameters.sample_rate);
  av_channel_layout_default(&encoder_->ch_layout, channelsFor(parameters.ch_layout.nb_channels));
  encoder_->bit_rate = bitRateFor(found->id, encoder_->ch_layout.nb_channels);
  encoder_->time_base = {1, encoder_->sample_rate};
  if (container.flags & AVFMT_GLOBALHEADER) encoder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  if (avcodec_open2(encoder_.get(), found, nullptr) < 0)
    throw std::invalid_argument(std::string("the encoder '") + encoder + "' does not take it");
  queue_ = allocated<SampleQueuePtr>(
      av_audio_fifo_alloc(encoder_->sample_fmt, encoder_->ch_layout.nb_channels, encoder_->frame_size));
}

bool AudioEncoder::encode(const AVPacket &packet, std::int64_t end, const Sink &sink) {
  const bool isSound = decode(&packet, end, sink);
  encodeUntil(end, sink);
  return isSound;
}

void AudioEncoder::finish(std::int64_t end, const Sink &sink) {
  decode(nullptr, end, sink);
  resample(nullptr);
  encodeUntil(end, sink);
  const std::int64_t rest = std::min<std::int64_t>(av_audio_fifo_size(queue_.get()), end - position_);
  if (rest > 0) encodeFrame(static_cast<int>(rest), sink);
  send(nullptr, sink);
}

bool AudioEncoder::decode(const AVPacket *packet, std::int64_t end, const Sink &sink) {
  if (avcodec_send_packet(decoder_.get(), packet) < 0) return false;
  int result;
  while ((result = avcodec_receive_frame(decoder_.get(), decoded_.get())) >= 0) {
    place(end, sink);
    resample(decoded_.get());
  }
  return result == AVERROR(EAGAIN) || result == AVERROR_EOF;
}

/// Sees to it that the decoded samples are heard at their time: what is missing before them becomes silence, and what
/// comes too early is left out.
void AudioEncoder::place(std::int64_t end, const Sink &sink) {
  const AVRational sample = {1, decoded_->sample_rate};
  const Kind kind = {decoded_->format, decoded_->sample_rate, decoded_->ch_layout.nb_channels};
  std::int64_t time = decoded_->best_effort_timestamp;
  time = time == AV_NOPTS_VALUE ? next_ : av_rescale_q(time, streamBase_, sample);
  // Containers round times, some to milliseconds, and recorders drift.
  const bool continues = resampler_ && kind == kind_ && std::abs(static_cast<double>(time - next_)) < kind.rate / 20.0;
  if (continues) {
    time = next_;
  } else {
    resample(nullptr);
    kind_ = kind;
    makeResampler();
    const std::int64_t missing =
        av_rescale_q(time, sample, encoder_->time_base) - position_ - av_audio_fifo_size(queue_.get());
    surplus_ = std::max<std::int64_t>(-missing, 0);
    putSilence(missing, end, sink);
  }
  next_ = time + decoded_->nb_samples;
}

void AudioEncoder::makeResampler() {
  AVChannelLayout layout{};
  copyLayout(layout, decoded_->ch_layout);
  SwrContext *resampler = nullptr;
  const int result = swr_alloc_set_opts2(&resampler, &encoder_->ch_layout, encoder_->sample_fmt, encoder_->sample_rate,
                                         &layout, static_cast<AVSampleFormat>(kind_.format), kind_.rate, 0, nullptr);
  av_channel_layout_uninit(&layout);
  resampler_.reset(resampler);
  // Channels that nobody knows the place of are left out.
  if (result < 0 || swr_init(resampler) < 0) resampler_.reset();
}

/// Null for what the resampler holds back.
void AudioEncoder::resample(const AVFrame *frame) {
  const int count = resampler_ ? swr_get_out_samples(resampler_.get(), frame ? frame->nb_samples : 0) : 0;
  if (count <= 0) return;
  const FramePtr samples = newSamples(count);
  const auto input = frame ? const_cast<const std::uint8_t **>(frame->extended_data) : nullptr;
  put(*samples, swr_convert(resampler_.get(), samples->extended_data, count, input, frame ? frame->nb_samples : 0));
}

/// A second at a time, since there may be much of it.
void AudioEncoder::putSilence(std::int64_t count, std::int64_t end, const Sink &sink) {
  while (count > 0) {
    const int part = static_cast<int>(std::min<std::int64_t>(count, encoder_->sample_rate));
    const FramePtr samples = newSamples(part);
    av_samples_set_silence(samples->extended_data, 0, part, encoder_->ch_layout.nb_channels, encoder_->sample_fmt);
    put(*samples, part);
    encodeUntil(end, sink);
    count -= part;
  }
}

FramePtr AudioEncoder::newSamples(int count) const {
  FramePtr samples = newFrame();
  samples->format = encoder_->sample_fmt;
  samples->sample_rate = encoder_->sample_rate;
  samples->nb_samples = count;
  copyLayout(samples->ch_layout, encoder_->ch_layout);
  if (av_frame_get_buffer(samples.get(), 0) < 0) throw std::bad_alloc();
  return samples;
}

void AudioEncoder::put(const AVFrame &samples, int count) {
  const int left = static_cast<int>(std::min<std::int64_t>(surplus_, std::max(count, 0)));
  surplus_ -= left;
  const bool isPlanar = av_sample_fmt_is_planar(encoder_->sample_fmt);
  const int channels = encoder_->ch_layout.nb_channels;
  const int size = av_get_bytes_per_sample(encoder_->sample_fmt) * (isPlanar ? 1 : channels);
  std::vector<void *> planes;
  for (int plane = 0; plane < (isPlanar ? channels : 1); ++plane)
    planes.push_back(samples.extended_data[plane] + static_cast<std::ptrdiff_t>(left) * size);
  if (count > left && av_audio_fifo_write(queue_.get(), planes.data(), count - left) < 0) throw std::bad_alloc();
}

void AudioEncoder::encodeUntil(std::int64_t end, const Sink &sink) {
  const int whole = encoder_->frame_size;
  while (av_audio_fifo_size(queue_.get()) >= whole && position_ + whole <= end) encodeFrame(whole, sink);
}

void AudioEncoder::encodeFrame(int count, const Sink &sink) {
  const FramePtr samples = newSamples(count);
  av_audio_fifo_read(queue_.get(), reinterpret_cast<void **>(samples->extended_data), count);
  samples->pts = position_;
  position_ += count;
  send(samples.get(), sink);
}

void AudioEncoder::send(const AVFrame *frame, const Sink &sink) {
  const PacketPtr packet = newPacket();
  if (avcodec_send_frame(encoder_.get(), frame) < 0) throw std::bad_alloc();
  while (avcodec_receive_packet(encoder_.get(), packet.get()) >= 0) {
    sink(*packet);
    av_packet_unref(packet.get());
  }
}

}  // namespace pyrelux::media
