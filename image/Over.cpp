#include "Over.h"

#include <algorithm>

namespace pyrelux {

namespace {

/// `back(pixel)` points to the four samples behind a pixel, which is counted in samples.
template <typename Back>
Image overEach(const Image &front, Back back) {
  Image result = toFloat(front);
  Image::Floats &samples = result.asFloats();
  for (std::size_t pixel = 0; pixel < samples.size(); pixel += 4) {
    // Sums of flames may be more than opaque.
    const float shown = 1.0f - std::clamp(samples[pixel + 3], 0.0f, 1.0f);
    const float *behind = back(pixel);
    for (std::size_t channel = 0; channel < 4; ++channel) samples[pixel + channel] += shown * behind[channel];
  }
  return result;
}

}  // namespace

Image over(const Image &front, const Image &back) {
  return overEach(front, [&back](std::size_t pixel) { return &back.asFloats()[pixel]; });
}

Image over(const Image &front, const std::array<double, 3> &colour) {
  const std::array<float, 4> behind = {static_cast<float>(colour[0]), static_cast<float>(colour[1]),
                                       static_cast<float>(colour[2]), 1.0f};
  return overEach(front, [&behind](std::size_t) { return behind.data(); });
}

}  // namespace pyrelux
