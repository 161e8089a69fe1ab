#include "StillEncoder.h"

#include <utility>

#include "MediaErrors.h"
#include "PictureSize.h"

namespace pyrelux::media {

StillEncoder::StillEncoder(const std::string &path, const Codec &codec, const OutputFormat &format)
    : path_(path), codec_(codec), format_(format) {
  deliveries_.push_back(std::make_unique<PictureDelivery>(path, codec, format));
  if (std::int64_t{format.width} * format.height > maximumPixels) failEncoding(path, deliveries_[0]->refusedSize());
}

std::vector<std::uint8_t> StillEncoder::encode(const Image &image) {
  std::unique_ptr<PictureDelivery> delivery = takeDelivery();
  const StillNotes notes{path_, delivery->alpha(), format_.pixelAspect, format_.record};
  const AVFrame &frame = delivery->frame(image, delivery->layout(nullptr), image.width(), image.height());
  std::vector<std::uint8_t> bytes = codec_.encodeStill(frame, notes);
  giveBack(std::move(delivery));
  return bytes;
}

Losses StillEncoder::losses() const {
  Losses all;
  for (const auto &delivery : deliveries_) {
    all.cutPixels += delivery->losses().cutPixels;
    all.pixels += delivery->losses().pixels;
  }
  return all;
}

std::unique_ptr<PictureDelivery> StillEncoder::takeDelivery() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (deliveries_.empty()) return std::make_unique<PictureDelivery>(path_, codec_, format_);
  std::unique_ptr<PictureDelivery> delivery = std::move(deliveries_.back());
  deliveries_.pop_back();
  return delivery;
}

void StillEncoder::giveBack(std::unique_ptr<PictureDelivery> delivery) {
  const std::lock_guard<std::mutex> lock(mutex_);
  deliveries_.push_back(std::move(delivery));
}

}  // namespace pyrelux::media
