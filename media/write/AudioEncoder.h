#pragma once

#include <cstdint>
#include <functional>

#include "AvPtr.h"

namespace pyrelux::media {

/// Decodes a stream of audio and encodes it anew, for a container that does not hold its codec. Samples keep their
/// times: gaps become silence, and what the coding takes to start is marked so that players skip it.
class AudioEncoder {
 public:
  using Sink = std::function<void(AVPacket &)>;

  /// `encoder` by FFmpeg's name. Throws std::invalid_argument, which says why, if it cannot be done.
  AudioEncoder(const AVStream &from, const char *encoder, const AVOutputFormat &container);

  /// Of what the sink gets; its time base is one sample.
  const AVCodecContext &context() const { return *encoder_; }

  /// Encodes the packet, whose times are since the output's begin, in units of the stream. `end` is in samples of the
  /// output: what comes later is kept for the next call. Returns whether the packet was sound.
  bool encode(const AVPacket &packet, std::int64_t end, const Sink &sink);

  /// Encodes what is left, up to `end`, as the last call.
  void finish(std::int64_t end, const Sink &sink);

 private:
  /// What a resampler is made for.
  struct Kind {
    int format = AV_SAMPLE_FMT_NONE;
    int rate = 0;
    int channels = 0;
    bool operator==(const Kind &other) const {
      return format == other.format && rate == other.rate && channels == other.channels;
    }
  };

  bool decode(const AVPacket *packet, std::int64_t end, const Sink &sink);
  void place(std::int64_t end, const Sink &sink);
  void makeResampler();
  void resample(const AVFrame *frame);
  void putSilence(std::int64_t count, std::int64_t end, const Sink &sink);
  FramePtr newSamples(int count) const;
  void put(const AVFrame &samples, int count);
  void encodeUntil(std::int64_t end, const Sink &sink);
  void encodeFrame(int count, const Sink &sink);
  void send(const AVFrame *frame, const Sink &sink);

  AVRational streamBase_;
  CodecPtr decoder_;
  CodecPtr encoder_;
  Kind kind_;
  ResamplerPtr resampler_;
  SampleQueuePtr queue_;
  FramePtr decoded_ = newFrame();
  std::int64_t next_ = 0;      // where the next decoded sample is expected, in samples of the input
  std::int64_t position_ = 0;  // of the queue's first sample, in samples of the output
  std::int64_t surplus_ = 0;   // samples of the output that come before their time and are left out
};

}  // namespace pyrelux::media
