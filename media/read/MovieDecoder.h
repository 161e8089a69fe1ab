#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Decoder.h"
#include "Deinterlacer.h"
#include "FrameRate.h"
#include "InputFile.h"
#include "PictureTimes.h"

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
  MovieDecoder(const std::string &path, const AVInputFormat *demuxer, bool deinterlace = false)
      : MovieDecoder(InputFile(path), demuxer, deinterlace) {}
  MovieDecoder(InputFile file, const AVInputFormat *demuxer, bool deinterlace);

  /// The next picture, valid until the next call; null after the last one. Throws MediaError: damaged.
  const AVFrame *next();

  /// How many pictures there are, exactly, and their times; nothing if only decoding can tell. Uses the decoder up.
  std::optional<PictureTimes> measurePackets();

  /// The same by decoding all of them from here.
  PictureTimes measurePictures();

  /// What the container says: first the one that is as good as any.
  std::vector<AVRational> frameRates() const { return {stream_->avg_frame_rate, stream_->r_frame_rate}; }
  FrameRate frameRate() const;

  /// Whether the container says that the pictures are pairs of fields.
  bool isInterlaced() const { return stream_->codecpar->field_order > AV_FIELD_PROGRESSIVE; }
  bool hasAudio() const;
  AVCodecID codec() const { return decoder_->codec(); }

 private:
  void orient(AVFrame &frame) const;
  AVFrame *decode();
  bool readPacket();
  std::optional<PictureTimes> measureIndex() const;

  InputFile file_;
  DemuxerPtr demuxer_;
  AVStream *stream_ = nullptr;
  std::optional<Decoder> decoder_;
  std::optional<Deinterlacer> deinterlacer_;
  PacketPtr packet_ = newPacket();
};

}  // namespace pyrelux::media
