#include "Delivery.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "Dither.h"

namespace pyrelux {

namespace {

/// Limits a value to 0 .. 1; NaN gives 0.
float limited(float value) { return std::min(value > 0.0f ? value : 0.0f, 1.0f); }

float brightestOf(const float *pixel) { return limited(std::max({pixel[0], pixel[1], pixel[2]})); }

/// Rounds to the levels of a depth; floats are not rounded.
class Levels {
 public:
  Levels(int bits, bool dithers)
      : largest_(bits < 32 ? static_cast<float>((1 << bits) - 1) : 0.0f), dithers_(dithers && bits <= 8) {}

  /// A value in 0 .. 1 rounded to a level, as a fraction of the largest level. Dithering depends on the pixel.
  float nearest(float value, int x, int y) const {
    if (largest_ == 0.0f) return value;
    return std::floor(value * largest_ + (dithers_ ? ditherThreshold(x, y) : 0.5f)) / largest_;
  }

 private:
  float largest_;
  bool dithers_;
};

/// Converts a pixel: its alpha is rounded, its colour is not.
std::array<float, 4> deliver(const float *pixel, const Delivery &delivery, const Levels &levels, int x, int y) {
  if (delivery.alpha == AlphaUse::None) return {pixel[0], pixel[1], pixel[2], 1.0f};
  const float exact = deliveredAlpha(pixel[0], pixel[1], pixel[2], pixel[3], delivery);
  const float alpha = levels.nearest(exact, x, y);
  if (delivery.alpha == AlphaUse::Premultiplied) return {pixel[0], pixel[1], pixel[2], alpha};
  if (alpha == 0.0f) return {};
  std::array<float, 4> straight{0.0f, 0.0f, 0.0f, alpha};
  for (std::size_t channel = 0; channel < 3; ++channel)
    straight[channel] = (delivery.alpha == AlphaUse::Exact ? std::min(pixel[channel], alpha) : pixel[channel]) / alpha;
  return straight;
}

}  // namespace

float deliveredAlpha(float red, float green, float blue, float alpha, const Delivery &delivery) {
  const float pixel[] = {red, green, blue};
  const float brightest = brightestOf(pixel);
  float result = limited(alpha);
  if (delivery.alpha == AlphaUse::None) return 1.0f;
  if (delivery.alpha == AlphaUse::Straight) result = std::max(result, brightest);
  const float dense = 1.0f - (1.0f - brightest) * (1.0f - brightest);
  return result + delivery.density * std::max(dense - result, 0.0f);
}

Image delivered(const Image &drawn, const Delivery &delivery, int bits) {
  const bool isStraight = delivery.alpha == AlphaUse::Straight || delivery.alpha == AlphaUse::Exact;
  const bool staysBytes = !drawn.isFloat() && bits <= 8;
  const Levels levels(bits, drawn.isFloat());
  const Image converted = drawn.isFloat() ? Image() : toFloat(drawn);
  const float *from = (drawn.isFloat() ? drawn : converted).asFloats().data();
  Image result = Image::floats(drawn.width(), drawn.height(), isStraight ? Alpha::Straight : Alpha::Premultiplied);
  float *to = result.asFloats().data();
  for (int y = 0; y < drawn.height(); ++y)
    for (int x = 0; x < drawn.width(); ++x, from += 4, to += 4) {
      const std::array<float, 4> stored = deliver(from, delivery, levels, x, y);
      std::copy(stored.begin(), stored.end(), to);
    }
  return staysBytes ? toBytes(result) : result;
}

std::size_t countCut(const Image &drawn, const Delivery &delivery, int bits) {
  if (delivery.alpha != AlphaUse::Exact) return 0;
  const float halfALevel = bits < 32 ? 0.5f / static_cast<float>((1 << bits) - 1) : 0.0f;
  const Image picture = toFloat(drawn);
  std::size_t count = 0;
  for (std::size_t i = 0; i < picture.sampleCount(); i += 4) {
    const float *const pixel = &picture.asFloats()[i];
    count += brightestOf(pixel) - deliveredAlpha(pixel[0], pixel[1], pixel[2], pixel[3], delivery) > halfALevel;
  }
  return count;
}

}  // namespace pyrelux
