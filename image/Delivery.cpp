#include "Delivery.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "Dither.h"
#include "FourPixels.h"

namespace pyrelux {

namespace {

FourFloats brightestOf(const FourPixels &pixels) {
  return limited(larger(larger(pixels.red, pixels.green), pixels.blue));
}

/// Rounds to the levels of a depth; floats are not rounded.
struct Levels {
  float largest;  ///< 0: not rounded
  bool dithers;

  Levels(int bits, bool isFloat)
      : largest(bits < 32 ? static_cast<float>((1 << bits) - 1) : 0.0f), dithers(isFloat && bits <= 8) {}

  /// Values in 0 .. 1 rounded to levels, as fractions of the largest level. Dithering depends on the pixels, which
  /// begin at (x, y).
  FourFloats nearest(FourFloats values, int x, int y) const {
    if (largest == 0.0f) return values;
    const FourFloats thresholds = dithers ? ditherThresholds(x, y) : allOf(0.5f);
    const FourIntegers levels = __builtin_convertvector(values * largest + thresholds, FourIntegers);
    return __builtin_convertvector(levels, FourFloats) / largest;
  }
};

/// The alpha of premultiplied pixels before it is rounded; `use` is not None.
template <AlphaUse use>
FourFloats exactAlpha(const FourPixels &pixels, float density) {
  const FourFloats brightest = brightestOf(pixels);
  const FourFloats drawn = limited(pixels.alpha);
  const FourFloats alpha = use == AlphaUse::Straight ? larger(drawn, brightest) : drawn;
  const FourFloats dense = 1.0f - (1.0f - brightest) * (1.0f - brightest);
  return alpha + density * larger(dense - alpha, allOf(0.0f));
}

/// Divides a channel by alpha, or makes it 0 where that is 0.
template <AlphaUse use>
FourFloats straightened(FourFloats colour, FourFloats alpha) {
  if (use == AlphaUse::Exact) colour = alpha < colour ? alpha : colour;
  const auto isEmpty = alpha <= allOf(0.0f);
  return (isEmpty ? allOf(0.0f) : colour) / (isEmpty ? allOf(1.0f) : alpha);
}

/// Converts pixels, which begin at (x, y): their alpha is rounded, their colour is not.
template <AlphaUse use>
void deliverPixels(FourPixels &pixels, float density, const Levels &levels, int x, int y) {
  if constexpr (use == AlphaUse::None) {
    pixels.alpha = allOf(1.0f);
  } else {
    pixels.alpha = levels.nearest(exactAlpha<use>(pixels, density), x, y);
    if constexpr (use == AlphaUse::Premultiplied) return;
    pixels.red = straightened<use>(pixels.red, pixels.alpha);
    pixels.green = straightened<use>(pixels.green, pixels.alpha);
    pixels.blue = straightened<use>(pixels.blue, pixels.alpha);
  }
}

template <AlphaUse use>
void deliverAll(const float *from, float density, const Levels &levels, int y, int width, float *to) {
  convertRow<use != AlphaUse::None>(
      from, width, to, [&](FourPixels &pixels, int x) { deliverPixels<use>(pixels, density, levels, x, y); });
}

void deliverRowOf(const float *from, const Delivery &delivery, const Levels &levels, int y, int width, float *to) {
  switch (delivery.alpha) {
    case AlphaUse::Straight:
      return deliverAll<AlphaUse::Straight>(from, delivery.density, levels, y, width, to);
    case AlphaUse::Exact:
      return deliverAll<AlphaUse::Exact>(from, delivery.density, levels, y, width, to);
    case AlphaUse::Premultiplied:
      return deliverAll<AlphaUse::Premultiplied>(from, delivery.density, levels, y, width, to);
    case AlphaUse::None:
      return deliverAll<AlphaUse::None>(from, delivery.density, levels, y, width, to);
  }
}

}  // namespace

float deliveredAlpha(float red, float green, float blue, float alpha, const Delivery &delivery) {
  const float samples[16] = {red, green, blue, alpha};
  const FourPixels pixels(samples);
  switch (delivery.alpha) {
    case AlphaUse::None:
      return 1.0f;
    case AlphaUse::Straight:
      return exactAlpha<AlphaUse::Straight>(pixels, delivery.density)[0];
    case AlphaUse::Exact:
    case AlphaUse::Premultiplied:
      break;
  }
  return exactAlpha<AlphaUse::Exact>(pixels, delivery.density)[0];
}

void deliverRow(const float *from, const Delivery &delivery, int bits, int y, int width, float *to) {
  deliverRowOf(from, delivery, Levels(bits, true), y, width, to);
}

Image delivered(const Image &drawn, const Delivery &delivery, int bits) {
  const bool isStraight = delivery.alpha == AlphaUse::Straight || delivery.alpha == AlphaUse::Exact;
  const Levels levels(bits, drawn.isFloat());
  const Image from = toFloat(drawn);
  Image result = Image::floats(drawn.width(), drawn.height(), isStraight ? Alpha::Straight : Alpha::Premultiplied);
  for (int y = 0; y < drawn.height(); ++y) {
    const std::ptrdiff_t row = std::ptrdiff_t{4} * drawn.width() * y;
    deliverRowOf(from.asFloats().data() + row, delivery, levels, y, drawn.width(), result.asFloats().data() + row);
  }
  return drawn.isFloat() || bits > 8 ? result : toBytes(result);
}

std::size_t countCut(const Image &drawn, const Delivery &delivery, int bits) {
  if (delivery.alpha != AlphaUse::Exact) return 0;
  const float halfALevel = bits < 32 ? 0.5f / static_cast<float>((1 << bits) - 1) : 0.0f;
  const Image picture = toFloat(drawn);
  std::size_t count = 0;
  for (std::size_t i = 0; i < picture.sampleCount(); i += 4) {
    float samples[16] = {};
    std::copy_n(&picture.asFloats()[i], 4, samples);
    const FourPixels pixel(samples);
    count += brightestOf(pixel)[0] - exactAlpha<AlphaUse::Exact>(pixel, delivery.density)[0] > halfALevel;
  }
  return count;
}

}  // namespace pyrelux
