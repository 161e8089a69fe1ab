#include "Compositing.h"

#include <algorithm>
#include <cstddef>

namespace pyrelux {

namespace {

template <typename Samples>
PixelBox boxOf(const Samples &samples, int width, int height) {
  PixelBox box{width, height, 0, 0};
  std::size_t alpha = 3;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x, alpha += 4) {
      if (!(samples[alpha] > 0)) continue;
      box.left = std::min(box.left, x);
      box.right = std::max(box.right, x + 1);
      box.top = std::min(box.top, y);
      box.bottom = y + 1;
    }
  return box.isEmpty() ? PixelBox() : box;
}

template <typename Samples, typename Level>
bool isAlpha(const Samples &samples, Level full) {
  for (std::size_t at = 3; at < samples.size(); at += 4)
    if (samples[at] < full) return false;
  return true;
}

template <typename Samples>
void spreadAlpha(Samples &samples) {
  for (std::size_t at = 0; at < samples.size(); at += 4)
    std::fill_n(samples.begin() + static_cast<std::ptrdiff_t>(at), 3, samples[at + 3]);
}

}  // namespace

Image sourceOnFire(const Image &fire, float weight, const Image &source, float opacity, SourceMode mode) {
  Image result = toFloat(fire);
  const Image floatSource = toFloat(source);
  const Image::Floats &from = floatSource.asFloats();
  Image::Floats &samples = result.asFloats();
  for (std::size_t at = 0; at < samples.size(); at += 4) {
    const float shown = mode == SourceMode::Cover ? weight * (1.0f - opacity * from[at + 3]) : weight;
    for (std::size_t channel = at; channel < at + 4; ++channel)
      samples[channel] = samples[channel] * shown + opacity * from[channel];
  }
  return result;
}

Image dissolve(const Image &from, const Image &to, float share) {
  Image result = toFloat(from);
  const Image floatTo = toFloat(to);
  const Image::Floats &toSamples = floatTo.asFloats();
  Image::Floats &samples = result.asFloats();
  for (std::size_t at = 0; at < samples.size(); ++at) samples[at] += share * (toSamples[at] - samples[at]);
  return result;
}

Image shapeOf(const Image &picture) {
  Image shape = picture;
  if (shape.isFloat())
    spreadAlpha(shape.asFloats());
  else
    spreadAlpha(shape.asBytes());
  return shape;
}

bool isOpaque(const Image &picture) {
  return picture.isFloat() ? isAlpha(picture.asFloats(), 1.0f) : isAlpha(picture.asBytes(), 255);
}

PixelBox alphaBox(const Image &picture) {
  return picture.isFloat() ? boxOf(picture.asFloats(), picture.width(), picture.height())
                           : boxOf(picture.asBytes(), picture.width(), picture.height());
}

PixelBox around(const PixelBox &a, const PixelBox &b) {
  if (a.isEmpty()) return b;
  if (b.isEmpty()) return a;
  return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right), std::max(a.bottom, b.bottom)};
}

}  // namespace pyrelux
