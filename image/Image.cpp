#include "Image.h"

#include <sys/mman.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>

#include "VectorClones.h"

namespace pyrelux {

namespace {

/// Sets the number of samples. Asks for large pages for a large picture, where the system has them: one of 4 KB at a
/// time takes longer than to draw it.
template <typename Samples>
void setCount(Samples &samples, std::size_t count) {
#if defined(MADV_HUGEPAGE)
  if (samples.capacity() < count) {
    samples.clear();
    samples.reserve(count);
    constexpr std::uintptr_t page = std::uintptr_t{2} << 20;
    const auto begin = (reinterpret_cast<std::uintptr_t>(samples.data()) + page - 1) / page * page;
    const auto end = reinterpret_cast<std::uintptr_t>(samples.data() + samples.capacity()) / page * page;
    // Without them it goes on as before.
    if (begin < end) madvise(reinterpret_cast<void *>(begin), end - begin, MADV_HUGEPAGE);
  }
#endif
  samples.resize(count);
}

float fromByte(std::uint8_t value) { return static_cast<float>(value) / 255.0f; }

std::uint8_t toByte(float value) {
  // The comparison turns NaN into 0.
  if (!(value > 0.0f)) return 0;
  return static_cast<std::uint8_t>(std::lround(std::min(value, 1.0f) * 255.0f));
}

/// Applies `convert(colour, alpha) -> colour` to the three colour channels of every pixel. Keeps the kind of samples.
template <typename Convert>
Image convertColour(const Image &image, Alpha alpha, Convert convert) {
  const bool isFloat = image.isFloat();
  Image result = isFloat ? Image::floats(image.width(), image.height(), alpha)
                         : Image::bytes(image.width(), image.height(), alpha);
  for (std::size_t pixel = 0; pixel < image.sampleCount(); pixel += 4) {
    if (isFloat) {
      const float *from = &image.asFloats()[pixel];
      float *to = &result.asFloats()[pixel];
      for (int channel = 0; channel < 3; ++channel) to[channel] = convert(from[channel], from[3]);
      to[3] = from[3];
    } else {
      const std::uint8_t *from = &image.asBytes()[pixel];
      std::uint8_t *to = &result.asBytes()[pixel];
      for (int channel = 0; channel < 3; ++channel)
        to[channel] = toByte(convert(fromByte(from[channel]), fromByte(from[3])));
      to[3] = from[3];
    }
  }
  return result;
}

}  // namespace

Image::Image(int width, int height, Alpha alpha, std::variant<Bytes, Floats> samples)
    : width_(width), height_(height), alpha_(alpha), samples_(std::move(samples)) {}

Image Image::bytes(int width, int height, Alpha alpha) {
  Bytes samples;
  setCount(samples, static_cast<std::size_t>(width) * height * 4);
  return Image(width, height, alpha, std::move(samples));
}

Image Image::floats(int width, int height, Alpha alpha) {
  Floats samples;
  setCount(samples, static_cast<std::size_t>(width) * height * 4);
  return Image(width, height, alpha, std::move(samples));
}

void Image::reshape(int width, int height, Alpha alpha, bool floatSamples) {
  width_ = width;
  height_ = height;
  alpha_ = alpha;
  if (floatSamples != isFloat()) {
    if (floatSamples)
      samples_ = Floats();
    else
      samples_ = Bytes();
  }
  std::visit([this](auto &samples) { setCount(samples, sampleCount()); }, samples_);
}

Image toFloat(const Image &image) {
  if (image.isFloat()) return image;
  Image result = Image::floats(image.width(), image.height(), image.alpha());
  std::transform(image.asBytes().begin(), image.asBytes().end(), result.asFloats().begin(), fromByte);
  return result;
}

Image toBytes(const Image &image) {
  if (!image.isFloat()) return image;
  Image result = Image::bytes(image.width(), image.height(), image.alpha());
  std::transform(image.asFloats().begin(), image.asFloats().end(), result.asBytes().begin(), toByte);
  return result;
}

void makeOpaque(Image &image) {
  const auto fill = [](auto &samples, auto one) {
    for (std::size_t sample = 3; sample < samples.size(); sample += 4) samples[sample] = one;
  };
  if (image.isFloat())
    fill(image.asFloats(), 1.0f);
  else
    fill(image.asBytes(), std::uint8_t{255});
}

PYRELUX_VECTOR_CLONES
void premultiply(const std::uint8_t *straight, std::uint8_t *premultiplied, std::size_t pixels) {
  // Two channels at once, in whole numbers: with t = colour * alpha + 128, (t + t / 256) / 256 is colour * alpha / 255
  // rounded to nearest. The quotient never lies halfway between two levels.
  static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "alpha is taken for the highest byte");
  constexpr std::uint32_t lanes = 0x00FF00FF;
  const auto scaled = [](std::uint32_t pair, std::uint32_t alpha) {
    const std::uint32_t product = pair * alpha + 0x00800080;
    return ((product + ((product >> 8) & lanes)) >> 8) & lanes;
  };
  for (std::size_t i = 0; i < pixels; ++i) {
    std::uint32_t pixel;
    std::memcpy(&pixel, straight + 4 * i, sizeof pixel);
    const std::uint32_t alpha = pixel >> 24;
    // Alpha is scaled together with green; 255 takes its place, so the product is alpha itself.
    pixel = scaled(pixel & lanes, alpha) | scaled(((pixel >> 8) & lanes) | 0x00FF0000, alpha) << 8;
    std::memcpy(premultiplied + 4 * i, &pixel, sizeof pixel);
  }
}

void flipRows(Image &image) {
  const auto flip = [&image](auto &samples) {
    const std::ptrdiff_t row = std::ptrdiff_t{4} * image.width();
    for (int upper = 0, lower = image.height() - 1; upper < lower; ++upper, --lower)
      std::swap_ranges(samples.begin() + upper * row, samples.begin() + (upper + 1) * row,
                       samples.begin() + lower * row);
  };
  if (image.isFloat())
    flip(image.asFloats());
  else
    flip(image.asBytes());
}

Image premultiplied(const Image &image) {
  if (image.alpha() == Alpha::Premultiplied) return image;
  if (!image.isFloat()) {
    Image result = Image::bytes(image.width(), image.height(), Alpha::Premultiplied);
    premultiply(image.asBytes().data(), result.asBytes().data(), image.sampleCount() / 4);
    return result;
  }
  return convertColour(image, Alpha::Premultiplied, [](float colour, float alpha) { return colour * alpha; });
}

Image straightened(const Image &image) {
  if (image.alpha() == Alpha::Straight) return image;
  return convertColour(image, Alpha::Straight,
                       [](float colour, float alpha) { return alpha > 0.0f ? colour / alpha : colour; });
}

}  // namespace pyrelux
