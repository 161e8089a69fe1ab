#include "Reduction.h"

#include <vector>

#include "Handles.h"

namespace pyrelux::media {

Image reduced(const Image &picture, int width, int height) {
  if (picture.width() == width && picture.height() == height) return picture;
  // Channel by channel: with colours the library goes through YUV.
  const ScalerPtr scaler =
      allocated<ScalerPtr>(sws_getContext(picture.width(), picture.height(), AV_PIX_FMT_GRAY8, width, height,
                                          AV_PIX_FMT_GRAY8, SWS_AREA | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
  Image result = Image::bytes(width, height, picture.alpha());
  std::vector<std::uint8_t> from(picture.sampleCount() / 4);
  std::vector<std::uint8_t> to(result.sampleCount() / 4);
  for (std::size_t channel = 0; channel < 4; ++channel) {
    for (std::size_t i = 0; i < from.size(); ++i) from[i] = picture.asBytes()[4 * i + channel];
    const std::uint8_t *const source[] = {from.data()};
    const int sourceStride[] = {picture.width()};
    std::uint8_t *const target[] = {to.data()};
    const int targetStride[] = {width};
    sws_scale(scaler.get(), source, sourceStride, 0, picture.height(), target, targetStride);
    for (std::size_t i = 0; i < to.size(); ++i) result.asBytes()[4 * i + channel] = to[i];
  }
  return result;
}

}  // namespace pyrelux::media
