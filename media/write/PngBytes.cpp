#include "PngBytes.h"

#include "PictureDelivery.h"
#include "PngEncoder.h"

namespace pyrelux::media {

std::vector<std::uint8_t> pngBytes(const Image &image, int bits, double pixelAspect, PngEffort effort) {
  const char *const path = "picture.png";
  OutputFormat format;
  format.width = image.width();
  format.height = image.height();
  format.bits = bits;
  PictureDelivery delivery(path, formatOf(path).codec({}, path), format);
  return encodePng(delivery.frame(image, delivery.layout(nullptr), image.width(), image.height()), pixelAspect, effort);
}

}  // namespace pyrelux::media
