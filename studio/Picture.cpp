#include "Picture.h"

#include <turbojpeg.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "Over.h"
#include "PngBytes.h"

namespace pyrelux::studio {

namespace {

/// Four floats that are worked on together, for compilers that do not see it by themselves.
using Floats4 = float __attribute__((vector_size(16)));
using Ints4 = std::int32_t __attribute__((vector_size(16)));

inline Floats4 limited(Floats4 value) {
  const Floats4 zero{0.0f, 0.0f, 0.0f, 0.0f};
  const Floats4 one{1.0f, 1.0f, 1.0f, 1.0f};
  // What is no number compares false.
  value = value > zero ? value : zero;
  return value < one ? value : one;
}

inline Floats4 loaded(const float *samples) {
  Floats4 value;
  std::memcpy(&value, samples, sizeof value);
  return value;
}

inline Floats4 loaded(const std::uint8_t *samples) {
  const Floats4 value{static_cast<float>(samples[0]), static_cast<float>(samples[1]), static_cast<float>(samples[2]),
                      static_cast<float>(samples[3])};
  return value / 255.0f;
}

/// A row of premultiplied pixels over a row behind it, or over the one pixel behind all if `step` is 0.
template <typename Sample>
void layRow(const Sample *front, const float *behind, std::size_t step, int width, std::uint8_t *pixels) {
  for (int x = 0; x < width; ++x, front += 4, behind += step, pixels += 4) {
    const Floats4 pixel = loaded(front);
    const Floats4 alpha = limited(Floats4{pixel[3], pixel[3], pixel[3], pixel[3]});
    const Floats4 laid = limited(pixel + (1.0f - alpha) * loaded(behind));
    const Ints4 levels = __builtin_convertvector(laid * 255.0f + 0.5f, Ints4);
    for (int channel = 0; channel < 4; ++channel) pixels[channel] = static_cast<std::uint8_t>(levels[channel]);
  }
}

void layRows(const Image &front, const Backdrop &back, int from, int to, std::uint8_t *pixels) {
  const int width = front.width();
  const float colour[4] = {static_cast<float>(back.colour[0]), static_cast<float>(back.colour[1]),
                           static_cast<float>(back.colour[2]), 1.0f};
  const std::size_t row = static_cast<std::size_t>(width) * 4;
  for (int y = from; y < to; ++y) {
    const std::size_t at = row * static_cast<std::size_t>(y);
    const float *behind = back.picture ? &back.picture->asFloats()[at] : colour;
    const std::size_t step = back.picture ? 4 : 0;
    if (front.isFloat())
      layRow(&front.asFloats()[at], behind, step, width, pixels + at);
    else
      layRow(&front.asBytes()[at], behind, step, width, pixels + at);
  }
}

struct FreeJpeg {
  void operator()(unsigned char *bytes) const { tjFree(bytes); }
};

}  // namespace

Image checkerboard(int width, int height, int square) {
  constexpr std::uint8_t dark = 102;
  constexpr std::uint8_t light = 153;
  Image board = Image::bytes(width, height, Alpha::Straight);
  std::uint8_t *sample = board.asBytes().data();
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x, sample += 4) {
      const bool isLight = (x / square + y / square) % 2 == 0;
      sample[0] = sample[1] = sample[2] = isLight ? light : dark;
      sample[3] = 255;
    }
  return toFloat(board);
}

DraftEncoder::DraftEncoder() : compressor_(tjInitCompress()) {
  if (!compressor_) throw std::runtime_error("the encoder of drafts can't be started");
}

DraftEncoder::~DraftEncoder() { tjDestroy(compressor_); }

std::vector<std::uint8_t> DraftEncoder::encode(const Image &front, const Backdrop &back) {
  pixels_.resize(front.sampleCount());
  const int middle = front.height() / 2;
  std::thread lower([&] { layRows(front, back, middle, front.height(), pixels_.data()); });
  layRows(front, back, 0, middle, pixels_.data());
  lower.join();
  constexpr int quality = 88;
  unsigned char *memory = nullptr;
  unsigned long size = 0;
  const int failed = tjCompress2(compressor_, pixels_.data(), front.width(), 0, front.height(), TJPF_RGBX, &memory,
                                 &size, TJSAMP_420, quality, TJFLAG_FASTDCT);
  const std::unique_ptr<unsigned char, FreeJpeg> kept(memory);
  if (failed) throw std::runtime_error(std::string("a draft can't be encoded: ") + tjGetErrorStr2(compressor_));
  return {memory, memory + size};
}

std::vector<std::uint8_t> settledPng(const Image &front, const Backdrop &back, int bits, double pixelAspect) {
  const Image laid = back.picture ? over(front, *back.picture) : over(front, back.colour);
  return media::pngBytes(laid, bits, pixelAspect, media::PngEffort::Least);
}

}  // namespace pyrelux::studio
