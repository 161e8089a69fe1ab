#include "StillEncoder.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "Encoder.h"
#include "MediaErrors.h"
#include "PictureDelivery.h"
#include "PictureSize.h"

namespace pyrelux::media {

namespace {

/// By FFmpeg, whose packets are whole files.
class PacketStill : public StillEncoder {
 public:
  PacketStill(const std::string &path, const Codec &codec, const OutputFormat &format)
      : encoder_(path, codec, false, format, options_) {}

  void encode(const Image &image, AVIOContext &file) override {
    encoder_.encode(image, count_++, 1, [&file](AVPacket &packet) { avio_write(&file, packet.data, packet.size); });
  }

  const Losses &losses() const override { return encoder_.losses(); }

 private:
  Dictionary options_;
  Encoder encoder_;
  std::int64_t count_ = 0;
};

/// By the library that the codec names.
class LibraryStill : public StillEncoder {
 public:
  LibraryStill(const std::string &path, const Codec &codec, const OutputFormat &format)
      : codec_(codec),
        delivery_(path, codec, format),
        layout_(delivery_.layout(nullptr)),
        notes_{path, delivery_.alpha(), format.pixelAspect, format.record} {
    if (std::int64_t{format.width} * format.height > maximumPixels) failEncoding(path, delivery_.refusedSize());
  }

  void encode(const Image &image, AVIOContext &file) override {
    const AVFrame &frame = delivery_.frame(image, layout_, image.width(), image.height());
    const std::vector<std::uint8_t> bytes = codec_.encodeStill(frame, notes_);
    // The library takes no more at a time than an int tells.
    constexpr std::size_t most = std::size_t{1} << 30;
    for (std::size_t begin = 0; begin < bytes.size(); begin += most)
      avio_write(&file, &bytes[begin], static_cast<int>(std::min(most, bytes.size() - begin)));
  }

  const Losses &losses() const override { return delivery_.losses(); }

 private:
  const Codec &codec_;
  PictureDelivery delivery_;
  AVPixelFormat layout_;
  StillNotes notes_;
};

}  // namespace

std::unique_ptr<StillEncoder> StillEncoder::open(const std::string &path, const Codec &codec,
                                                 const OutputFormat &format) {
  if (codec.encodeStill) return std::make_unique<LibraryStill>(path, codec, format);
  return std::make_unique<PacketStill>(path, codec, format);
}

}  // namespace pyrelux::media
