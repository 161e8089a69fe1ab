#include "Over.h"

#include "Delivery.h"

namespace pyrelux {

namespace {

/// `back(sample)` returns the three colour samples behind the pixel that begins at that sample's index.
template <typename Back>
Image overEach(const Image &front, float density, Back back) {
  const Delivery kept{AlphaUse::Premultiplied, density};
  Image result = toFloat(front);
  Image::Floats &samples = result.asFloats();
  for (std::size_t at = 0; at < samples.size(); at += 4) {
    float *const pixel = &samples[at];
    const float shown = 1.0f - deliveredAlpha(pixel[0], pixel[1], pixel[2], pixel[3], kept);
    const float *behind = back(at);
    for (std::size_t channel = 0; channel < 3; ++channel) pixel[channel] += shown * behind[channel];
    pixel[3] = 1.0f;
  }
  return result;
}

}  // namespace

Image over(const Image &front, const Image &back, float density) {
  return overEach(front, density, [&back](std::size_t at) { return &back.asFloats()[at]; });
}

Image over(const Image &front, const std::array<double, 3> &colour, float density) {
  const std::array<float, 3> behind = {static_cast<float>(colour[0]), static_cast<float>(colour[1]),
                                       static_cast<float>(colour[2])};
  return overEach(front, density, [&behind](std::size_t) { return behind.data(); });
}

}  // namespace pyrelux
