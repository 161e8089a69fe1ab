#include "Matte.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace pyrelux {

namespace {

/// What is nearer to the key than this is the key: what lossy codecs make of even colour.
constexpr float keyTolerance = 0.02f;

/// Calls matte(pixel) for each pixel's four float samples.
template <typename Matte>
Image withMatte(const Image &picture, Matte matte) {
  Image result = Image::floats(picture.width(), picture.height(), Alpha::Premultiplied);
  result.asFloats() = std::move(toFloat(picture).asFloats());
  Image::Floats &samples = result.asFloats();
  for (std::size_t at = 0; at < samples.size(); at += 4) matte(&samples[at]);
  return picture.isFloat() ? result : toBytes(result);
}

}  // namespace

Image lumaMatte(const Image &picture) {
  return withMatte(picture, [](float *pixel) {
    pixel[3] = std::min(1.0f, std::max(0.0f, 0.2126f * pixel[0] + 0.7152f * pixel[1] + 0.0722f * pixel[2]));
  });
}

Image keyMatte(const Image &picture, const std::array<double, 3> &key, double softness) {
  const float keyed[] = {static_cast<float>(key[0]), static_cast<float>(key[1]), static_cast<float>(key[2])};
  return withMatte(picture, [&keyed, soft = static_cast<float>(softness)](float *pixel) {
    float distance = 0.0f;
    for (int channel = 0; channel < 3; ++channel)
      distance = std::max(distance, std::abs(pixel[channel] - keyed[channel]));
    const float alpha = distance <= keyTolerance ? 0.0f : std::min(1.0f, distance / soft);
    for (int channel = 0; channel < 3; ++channel)
      pixel[channel] = alpha == 0.0f ? 0.0f : std::max(0.0f, pixel[channel] - (1.0f - alpha) * keyed[channel]);
    pixel[3] = alpha;
  });
}

}  // namespace pyrelux
