#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Decoder.h"
#include "InputFile.h"
#include "Media.h"

namespace pyrelux::media {

/// Finds out what the streams hold, which decodes some of them when the container does not say it.
void findStreams(AVFormatContext &demuxer);

/// The first video stream that is more than the cover picture of a recording; null if there is none.
AVStream *findVideo(const AVFormatContext &demuxer);

/// Decodes the video of a movie, picture after picture. To go back, make a new one: that is sure to arrive at the
/// same pictures, which seeking is not in every container.
class MovieDecoder {
 public:
  /// Throws MediaError: no video in the file, too large, damaged.
  MovieDecoder(const std::string &path, const AVInputFormat *demuxer);

  /// The next picture, valid until the next call; null after the last one. Throws MediaError: damaged.
  const AVFrame *next();

  /// How many pictures there are, exactly. May use the decoder up.
  std::int64_t countPictures();

  FrameRate frameRate() const;
  bool hasAudio() const;
  AVCodecID codec() const { return decoder_->codec(); }

 private:
  void orient(AVFrame &frame) const;
  bool readPacket();
  std::int64_t countIndex() const;

  InputFile file_;
  DemuxerPtr demuxer_;
  AVStream *stream_ = nullptr;
  std::optional<Decoder> decoder_;
  PacketPtr packet_ = newPacket();
};

}  // namespace pyrelux::media
