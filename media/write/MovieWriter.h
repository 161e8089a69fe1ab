#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "AudioCopy.h"
#include "Encoder.h"
#include "FileFormat.h"
#include "Output.h"
#include "Writer.h"

namespace pyrelux::media {

constexpr const char *causeNoFrame = "it was given no frame";

/// A movie, with its audio, in a file or on standard output.
class MovieWriter : public Writer {
 public:
  /// Throws what Writer::open() throws.
  MovieWriter(const std::string &path, const FileFormat &file, const OutputFormat &format);
  ~MovieWriter() override;

  void write(std::int64_t frame, const Image &image) override;

  /// Adds a frame that an encoder for the same format has encoded, and that stands alone, in the place of write(). The
  /// packet's times are changed. Throws OutputError.
  void append(std::int64_t frame, AVPacket &packet);

  void finish() override;
  Losses losses() const override;

  /// What the movie's header says of its pictures.
  const AVCodecContext &encoder() const { return encoder_.context(); }

 private:
  /// When a frame is shown, in units of the encoder's clock.
  struct Span {
    std::int64_t time;
    std::int64_t duration;
  };
  Span spanOf(std::int64_t frame);
  Encoder::Sink sink();
  void requireFrameRate();
  void require(int result);

  std::string path_;
  Dictionary options_;
  std::unique_ptr<Output> output_;
  Encoder encoder_;
  MuxerPtr muxer_;
  AVStream *stream_ = nullptr;
  std::optional<AudioCopy> audio_;
  std::shared_ptr<const FrameTimes> times_;  // null for an even rate
  std::optional<std::int64_t> start_;        // of the first frame, in ticks
  std::int64_t end_ = 0;                     // of the last frame
  bool isOpen_ = false;                      // a header is written, and no trailer yet
};

}  // namespace pyrelux::media
