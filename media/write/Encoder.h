#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "FileFormat.h"
#include "PictureDelivery.h"
#include "Writer.h"

namespace pyrelux::media {

/// Turns pictures into packets, by an encoder of FFmpeg.
class Encoder {
 public:
  using Sink = std::function<void(AVPacket &)>;

  /// For a container. `codec` must outlive this. `options` gives what the encoder does not
  /// know back. Throws OutputError: a size or frame rate that nothing has; EncoderError: no such encoder, a size that
  /// it refuses.
  Encoder(const std::string &path, const Codec &codec, const OutputFormat &format, Dictionary &options);

  /// Encodes a picture as the next one, of that time and duration in units of context().time_base. `sink` gets the
  /// packets that are ready. Throws MediaError.
  void encode(const Image &image, std::int64_t time, std::int64_t duration, const Sink &sink);

  /// Encodes what is held back, as the last call.
  void flush(const Sink &sink) { send(nullptr, sink); }

  const AVCodecContext &context() const { return *context_; }
  const Losses &losses() const { return delivery_.losses(); }

 private:
  void send(const AVFrame *frame, const Sink &sink);

  std::string path_;
  const Codec &codec_;
  PictureDelivery delivery_;
  CodecPtr context_;
  std::int64_t count_ = 0;                          // of the pictures given
  std::map<std::int64_t, std::int64_t> durations_;  // by time, of what the encoder holds back
};

}  // namespace pyrelux::media
